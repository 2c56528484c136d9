#include "device/platform/alsa/AlsaMidiService.h"
#include "sim/UnitRig.h"
#include "sim/alsa/AlsaUnitPorts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace tavrel {
namespace {

using namespace std::chrono_literals;

std::optional<MidiService::Endpoint> named(const std::vector<MidiService::Endpoint>& list,
                                           const std::string& name) {
    for (const auto& endpoint : list) {
        if (endpoint.displayName == name) return endpoint;
    }
    return std::nullopt;
}

// Polls, since ALSA delivers on its own threads: up to two seconds.
template <class Condition>
bool eventually(Condition condition) {
    for (int i = 0; i < 200 && !condition(); ++i) std::this_thread::sleep_for(10ms);
    return condition();
}

TEST(AlsaUnitPorts, TheProgramFindsAndTalksToTheUnitThroughTheSequencer) {
    if (!std::filesystem::exists("/dev/snd/seq")) {
        GTEST_SKIP() << "no ALSA sequencer here (/dev/snd/seq is missing)";
    }
    std::vector<test::Bytes> heard;
    std::mutex lock;
    sim::AlsaUnitPorts ports;
    ASSERT_TRUE(ports.open("QL-900", [&](std::span<const std::uint8_t> bytes) {
        std::lock_guard guard(lock);
        heard.emplace_back(bytes.begin(), bytes.end());
    }));

    test::AppSide app;
    AlsaMidiService service;
    ASSERT_TRUE(service.createClient("Tavrel", app).ok());
    ASSERT_TRUE(service.createOutputPort("MidiLib-OutPort").ok());
    ASSERT_TRUE(service.createInputPort("MidiLib-InPort").ok());
    const auto source = named(service.sources(), "QL-900:QL-900 MIDI 1");
    const auto destination = named(service.destinations(), "QL-900:QL-900 MIDI 1");
    ASSERT_TRUE(source && destination);
    ASSERT_TRUE(service.connectSource(source->uniqueId).ok());

    const test::Bytes editorOn =
        test::message(0x04, {0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7});
    ASSERT_TRUE(service.send(destination->uniqueId, editorOn).ok());
    EXPECT_TRUE(eventually([&] {
        std::lock_guard guard(lock);
        return heard == std::vector<test::Bytes>{editorOn};
    }));
    ASSERT_TRUE(ports.send(editorOn));
    std::vector<test::Bytes> replies;
    EXPECT_TRUE(eventually([&] {
        for (auto& block : app.take()) replies.push_back(block);
        return replies == std::vector<test::Bytes>{editorOn};
    }));

    ports.close();
    EXPECT_TRUE(eventually([&] { return !named(service.sources(), "QL-900:QL-900 MIDI 1"); }));
    EXPECT_TRUE(eventually([&] { return app.removed().size() >= 2; }));
    service.closeClient();
}

}  // namespace
}  // namespace tavrel
