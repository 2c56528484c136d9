#include "device/platform/alsa/AlsaMidiService.h"

#include "device/AlsaPeer.h"
#include "device/LogCapture.h"
#include "device/MainThreadQueue.h"
#include "device/MidiLib.h"
#include "device/MidiRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

using Bytes = std::vector<std::uint8_t>;

bool haveSequencer() {
    return std::filesystem::exists("/dev/snd/seq");
}

std::int64_t indexOf(const std::vector<CportProperties>& ports, const std::string& name) {
    const auto it = std::find_if(ports.begin(), ports.end(),
                                 [&](const CportProperties& p) { return p.deviceName() == name; });
    return it == ports.end() ? -1 : it - ports.begin();
}

TEST(AlsaMidiService, WithoutASequencerItSaysSoOnceAndListsNothing) {
    if (haveSequencer()) {
        GTEST_SKIP() << "this computer has an ALSA sequencer (/dev/snd/seq), so the path for "
                        "one without it cannot be taken here";
    }
    test::LogCapture log;
    AlsaMidiService service;
    test::MidiRecorder recorder;
    for (int attempt = 0; attempt < 2; ++attempt) {
        MidiLib midi(service);
        midi.setDelegate(&recorder);
        EXPECT_FALSE(midi.isReady());
        midi.searchDevice();
        EXPECT_TRUE(midi.getInputPortList().empty());
        EXPECT_TRUE(midi.getOutputPortList().empty());
        EXPECT_FALSE(midi.selectInputDevice(0));
        midi.sendMidi(MidiPacket{0, 3, {0x99, 0x24, 0x64}});
    }
    const auto lines = log.lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::string& line) {
                                return line.starts_with("device: ALSA sequencer not available: ");
                            }),
              1);

    EXPECT_TRUE(service.sources().empty());
    EXPECT_TRUE(service.destinations().empty());
    EXPECT_EQ(service.findByUniqueId(0x8000), std::nullopt);
    EXPECT_FALSE(service.connectSource(0x8000).ok());
    const auto sent = service.send(0x8000, Bytes{0x90, 0x3C, 0x64});
    EXPECT_FALSE(sent.ok());
    EXPECT_FALSE(sent.what.empty());
    EXPECT_TRUE(recorder.calls.empty());
}

// Runs the main-thread tasks until `call` has been made or five seconds have passed.
bool waitForCall(test::MainThreadQueue& mainThread, test::MidiRecorder& recorder,
                 const std::string& call) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    for (;;) {
        mainThread.runAll();
        if (std::find(recorder.calls.begin(), recorder.calls.end(), call) != recorder.calls.end()) {
            return true;
        }
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

TEST(AlsaMidiService, TalksToAnotherClientAndHearsItsPortsComeAndGo) {
    if (!haveSequencer()) {
        GTEST_SKIP() << "no ALSA sequencer on this computer (/dev/snd/seq is missing); this test "
                        "runs where the kernel has one";
    }
    test::AlsaPeer peer;
    ASSERT_TRUE(peer.valid());
    AlsaMidiService service;
    test::MainThreadQueue mainThread;
    test::MidiRecorder recorder;
    MidiLib midi(service, mainThread.poster());
    ASSERT_TRUE(midi.isReady());
    midi.setDelegate(&recorder);
    midi.searchDevice();

    const std::string io = std::string(test::AlsaPeer::kName) + ":io";
    const std::int64_t in = indexOf(midi.getInputPortList(), io);
    const std::int64_t out = indexOf(midi.getOutputPortList(), io);
    ASSERT_GE(in, 0);
    ASSERT_GE(out, 0);
    EXPECT_EQ(MidiLib::getUniqId(midi.getInputPortList()[in]), (peer.client << 8) | peer.port);
    for (const auto& port : midi.getInputPortList()) {
        EXPECT_FALSE(port.deviceName().starts_with("Tavrel:")) << "our own ports are not listed";
        EXPECT_FALSE(port.deviceName().starts_with("System:"));
    }

    ASSERT_TRUE(midi.selectInputDevice(in));
    ASSERT_TRUE(midi.selectOutputDevice(out));
    ASSERT_TRUE(peer.send({0xF0, 0x41, 0x10, 0xF7}));
    ASSERT_TRUE(peer.send({0x99, 0x24, 0x64}));
    EXPECT_EQ(recorder.waitForReceived(2),
              (std::vector<Bytes>{{0xF0, 0x41, 0x10, 0xF7}, {0x99, 0x24, 0x64}}));

    const Bytes request{0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7};
    midi.sendMidiWithData(request.data(), std::ssize(request));
    midi.sendMidi(MidiPacket{0, 3, {0x89, 0x24, 0x00}});
    EXPECT_EQ(peer.read(), request);
    EXPECT_EQ(peer.read(), (Bytes{0x89, 0x24, 0x00}));

    const int second = peer.addPort("second");
    ASSERT_GE(second, 0);
    const std::string name = std::string(test::AlsaPeer::kName) + ":second";
    EXPECT_TRUE(waitForCall(mainThread, recorder, "added " + name + " (source)"));
    peer.deletePort(second);
    EXPECT_TRUE(waitForCall(mainThread, recorder, "removed " + name + " (source)"));
}

}  // namespace
}  // namespace tavrel
