// The simulated unit of either model, heard through the program's end of the cable as the
// device link hears it; its replies are checked byte for byte against messages written here.
#include "device/ManualTimeline.h"
#include "device/platform/virtual/VirtualMidiService.h"
#include "device/platform/virtual/VirtualVolumeService.h"
#include "sim/SimulatedUnit.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::Bytes;
using Replies = std::vector<Bytes>;

// Requests as the device link sends them, after the header; the unit reports in the same form.
const Bytes kEditorOn{0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7};
const Bytes kEditorOff{0x12, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x11, 0xF7};
const Bytes kMount{0x12, 0x7F, 0x70, 0x00, 0x01, 0x01, 0x0F, 0xF7};
const Bytes kUnmount{0x12, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x10, 0xF7};
const Bytes kAskEditorMode{0x11, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7};
const Bytes kAskMount{0x11, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x0F, 0xF7};
const Bytes kAskKits{0x11, 0x7F, 0x70, 0x01, 0x00, 0x00, 0x00, 0x00, 0x63, 0x2D, 0xF7};

struct ModelCase {
    sim::UnitModel model;
    std::uint8_t id;  // the last byte of its header
};

// The header of the model whose ID byte is `id`, then `body`.
Bytes message(std::uint8_t id, const Bytes& body) {
    Bytes bytes{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, id};
    // Byte by byte: g++ 12 sees an overflow that is not there in an optimised insert().
    for (const std::uint8_t byte : body) bytes.push_back(byte);
    return bytes;
}

class SimulatedUnitTest : public ::testing::TestWithParam<ModelCase>, public MidiService::Listener {
protected:
    SimulatedUnitTest() {
        EXPECT_TRUE(midi.createClient("Tavrel", *this).ok());
        EXPECT_TRUE(midi.createOutputPort("out").ok());
        EXPECT_TRUE(midi.createInputPort("in").ok());
    }
    void SetUp() override { ASSERT_TRUE(plugIn()); }

    // Plugs the unit in and connects to it by the model's name, as the link would.
    bool plugIn() {
        if (!unit->plugIn()) return false;
        const auto source = find(midi.sources());
        const auto found = find(midi.destinations());
        if (!source || !found) return false;
        destination = *found;
        return midi.connectSource(*source).ok();
    }
    std::optional<std::int64_t> find(const std::vector<MidiService::Endpoint>& endpoints) {
        for (const auto& e : endpoints) {
            if (e.displayName == GetParam().model.name() + " MIDI 1") return e.uniqueId;
        }
        return std::nullopt;
    }

    Bytes msg(const Bytes& body) const { return message(GetParam().id, body); }
    void send(const Bytes& bytes) { EXPECT_TRUE(midi.send(destination, bytes).ok()); }
    // What the unit answered by the time everything sent was delivered.
    Replies replies() {
        midi.flush();
        std::lock_guard guard(lock);
        return std::exchange(received, {});
    }
    Replies ask(const Bytes& body) {
        send(msg(body));
        return replies();
    }
    Replies only(const Bytes& body) const { return {msg(body)}; }
    sim::UnitFaults& faults() { return unit->faults(); }
    bool volumeShown() { return volumes.exists(temp / "unit" / "VANTIK" / "DATA" / "RHYTHM.QL0"); }

    void midiReceived(std::span<const std::uint8_t> bytes) override {
        std::lock_guard guard(lock);
        received.emplace_back(bytes.begin(), bytes.end());
    }
    void midiNotified(const MidiNotification& notification) override {
        std::lock_guard guard(lock);
        if (notification.kind == MidiNotification::Kind::ObjectRemoved) {
            removed.push_back(notification.displayName);
        }
    }

    // The listener's state first, so that it outlives the service that calls it.
    std::mutex lock;
    Replies received;
    std::vector<std::string> removed;
    test::ScratchFolder temp;
    VirtualMidiService midi;
    VirtualVolumeService volumes;
    ManualTimeline timeline;
    std::unique_ptr<sim::SimulatedUnit> unit = std::make_unique<sim::SimulatedUnit>(
        GetParam().model, midi, volumes, timeline, temp / "unit");
    std::int64_t destination = 0;
};

// Only whole, good requests of its own model count: the others (a preview's notes aside) are
// ignored and counted, and leave the unit free.
TEST_P(SimulatedUnitTest, AnswersItsModelsGoodRequestsAndShowsItsStorageOnlyToAnEditor) {
    Bytes badChecksum = msg(kEditorOn);
    badChecksum[14] = 0x11;
    const struct {
        const char* what;
        Bytes request;
        std::vector<Bytes> replies;
        bool storageShown;
    } steps[] = {
        {"a wrong checksum", badChecksum, {}, false},
        {"the other model's", message(GetParam().id ^ 0x01, kEditorOn), {}, false},
        {"no such address", msg({0x12, 0x7F, 0x70, 0x00, 0x02, 0x01, 0x0E, 0xF7}), {}, false},
        {"no such command", msg({0x13, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7}), {}, false},
        {"3 bytes asked", msg({0x11, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7}), {}, false},
        {"cut short", msg({0x12, 0x7F, 0x70, 0xF7}), {}, false},
        {"a preview's notes", {0x99, 0x24, 0x64, 0x89, 0x24, 0x00}, {}, false},
        {"asked while free", msg(kAskEditorMode), {kEditorOff}, false},
        {"mount without an editor", msg(kMount), {kUnmount}, false},
        {"kit names without an editor", msg(kAskKits), {}, false},
        {"editor on", msg(kEditorOn), {kEditorOn}, false},
        {"asked while held", msg(kAskEditorMode), {kEditorOn}, false},
        {"mount", msg(kMount), {kMount}, true},
        {"asked whether mounted", msg(kAskMount), {kMount}, true},
        {"unmount, which ends the editor's session", msg(kUnmount), {kUnmount}, false},
        {"asked after unmounting", msg(kAskEditorMode), {kEditorOff}, false},
        {"editor on again", msg(kEditorOn), {kEditorOn}, false},
        {"mount again", msg(kMount), {kMount}, true},
        {"editor off, which unmounts too", msg(kEditorOff), {kEditorOff, kUnmount}, false},
    };
    for (const auto& step : steps) {
        Replies expected;
        for (const Bytes& reply : step.replies) expected.push_back(msg(reply));
        send(step.request);
        EXPECT_EQ(replies(), expected) << step.what;
        EXPECT_EQ(volumeShown(), step.storageShown) << step.what;
    }
    EXPECT_EQ(unit->messagesIgnored(), 6);
    EXPECT_FALSE(unit->editorMode());
    EXPECT_FALSE(unit->mounted());
    EXPECT_TRUE(fs::exists(temp / "unit" / "VANTIK" / "DATA" / "RHYTHM.QL0"));

    const Bytes whole = msg(kEditorOn);
    send(Bytes(whole.begin(), whole.begin() + 5));
    send({0xF8});  // a clock tick inside the message
    send(Bytes(whole.begin() + 5, whole.end()));
    EXPECT_EQ(replies(), only(kEditorOn)) << "a request in pieces is put together";
}

TEST_P(SimulatedUnitTest, SendsOneMessagePerKitThenAnEmptySlot) {
    ask(kEditorOn);
    const Replies replies = ask(kAskKits);
    ASSERT_GE(replies.size(), 9u);
    for (std::size_t slot = 0; slot < replies.size(); ++slot) {
        SCOPED_TRACE(slot);
        const Bytes& reply = replies[slot];
        ASSERT_EQ(reply.size(), 31u) << "16 name bytes each";
        // Slots step by 16 from 7F 70 01 00, the low 14 bits in two 7-bit bytes.
        const std::size_t at = 128 + slot * 16;
        const Bytes head = msg({0x12, 0x7F, 0x70, static_cast<std::uint8_t>(at / 128),
                                static_cast<std::uint8_t>(at % 128)});
        EXPECT_EQ(Bytes(reply.begin(), reply.begin() + 13), head);
        unsigned sum = 0;
        for (std::size_t i = 9; i < 30; ++i) sum += reply[i];
        EXPECT_EQ(sum % 128, 0u) << "checksum " << int{reply[29]};
        EXPECT_EQ(reply[30], 0xF7);
        EXPECT_EQ(reply[13] == 0, slot + 1 == replies.size())
            << "only the closing slot starts with 0";
    }
    // "Studio Rock" padded to 16 bytes; 7F+70+01+00 and the name sum to 1463, 73 short of 1536.
    EXPECT_EQ(replies[0], msg({0x12, 0x7F, 0x70, 0x01, 0x00, 'S', 't', 'u', 'd', 'i',  'o', ' ',
                               'R',  'o',  'c',  'k',  ' ',  ' ', ' ', ' ', ' ', 0x49, 0xF7}));
}

// How late a slow unit answers is the link's tests' to time; here, what a pulled cable loses.
TEST_P(SimulatedUnitTest, PullingTheCableTakesEndpointsStorageTheEditorAndLateRepliesWithIt) {
    const std::string name = GetParam().model.name() + " MIDI 1";
    ask(kEditorOn);
    ask(kMount);
    faults().unplugAtStep = sim::UnitStep::KitRequest;
    EXPECT_TRUE(ask(kAskKits).empty());
    EXPECT_FALSE(unit->pluggedIn());
    EXPECT_FALSE(find(midi.sources()) || find(midi.destinations()));
    EXPECT_EQ(removed, (std::vector<std::string>{name, name}));
    EXPECT_FALSE(volumeShown());

    faults().unplugAtStep = sim::UnitStep::None;
    ASSERT_TRUE(plugIn());
    EXPECT_EQ(ask(kAskEditorMode), only(kEditorOff));

    faults().replyDelayMs = 1500;
    send(msg(kAskEditorMode));
    unit->unplug();
    ASSERT_TRUE(plugIn());
    timeline.advanceTo(timeline.now() + 1500ms);
    EXPECT_TRUE(replies().empty()) << "a late reply is lost with the cable";
    send(msg(kAskEditorMode));
    timeline.advanceTo(timeline.now() + 1500ms);
    EXPECT_EQ(replies(), only(kEditorOff)) << "the unit plugged in again answers late itself";
}

// For ThreadSanitizer: requests come and volumes are listed on the program's thread while the
// cable is pulled and plugged in again and late replies fall due on the timeline's worker.
TEST_P(SimulatedUnitTest, KeepsItsStateWhileRequestsArriveDuringUnplugging) {
    faults().replyDelayMs = 5;
    std::atomic<std::int64_t> to = destination;
    std::atomic<bool> done = false;
    std::thread program([&] {
        for (int i = 0; i < 300; ++i) {
            midi.send(to, msg(kEditorOn));
            midi.send(to, msg(kMount));
            midi.send(to, msg(kAskKits));
            volumeShown();
        }
        done = true;
    });
    while (!done) {
        timeline.advanceTo(timeline.now() + 5ms);
        unit->unplug();
        ASSERT_TRUE(plugIn());
        to = destination;
    }
    program.join();
    faults().replyDelayMs = 0;
    replies();
    EXPECT_EQ(ask(kEditorOff), only(kEditorOff));
}

std::string modelName(const ::testing::TestParamInfo<ModelCase>& model) {
    return model.param.id == 0x04 ? "QL900" : "QL414XE3";
}

INSTANTIATE_TEST_SUITE_P(BothModels, SimulatedUnitTest,
                         ::testing::Values(ModelCase{sim::UnitModel::ql900(), 0x04},
                                           ModelCase{sim::UnitModel::ql414xe3(), 0x05}),
                         modelName);

}  // namespace
}  // namespace tavrel
