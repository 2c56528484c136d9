#include "sim/ReplyChecks.h"
#include "sim/SimulatedUnit.h"
#include "sim/UnitRig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
using test::Bytes;

Bytes ql900(const Bytes& body) {
    return test::message(0x04, body);
}

const Bytes kEditorOn = ql900({0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7});
const Bytes kEditorOff = ql900({0x12, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x11, 0xF7});
const Bytes kMount = ql900({0x12, 0x7F, 0x70, 0x00, 0x01, 0x01, 0x0F, 0xF7});
const Bytes kUnmounted = ql900({0x12, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x10, 0xF7});
const Bytes kAskEditorMode =
    ql900({0x11, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7});
const Bytes kAskMount = ql900({0x11, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x0F, 0xF7});
const Bytes kAskKits = ql900({0x11, 0x7F, 0x70, 0x01, 0x00, 0x00, 0x00, 0x00, 0x63, 0x2D, 0xF7});

// The kit slot a kit reply is for, from its address.
int slotOf(const Bytes& reply) {
    return (reply[11] * 128 + reply[12] - 128) / 16;
}

std::vector<int> slotsOf(const std::vector<Bytes>& replies) {
    std::vector<int> slots;
    for (const Bytes& reply : replies) slots.push_back(slotOf(reply));
    return slots;
}

class UnitFaultsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(rig.plugIn()); }

    std::vector<Bytes> ask(const Bytes& request) { return rig.exchange(request); }
    sim::UnitFaults& faults() { return rig.unit->faults(); }

    test::UnitRig rig{sim::UnitModel::ql900()};
};

TEST_F(UnitFaultsTest, ASilentUnitHearsButNeitherActsNorAnswers) {
    faults().silent = true;
    for (const Bytes& request : {kAskEditorMode, kEditorOn, kMount, kAskKits}) {
        EXPECT_TRUE(ask(request).empty());
    }
    EXPECT_EQ(rig.unit->messagesReceived(), 4);
    EXPECT_FALSE(rig.unit->editorMode());
    EXPECT_TRUE(rig.volumes.volumes().empty());
    faults().silent = false;
    EXPECT_EQ(ask(kEditorOn), std::vector<Bytes>{kEditorOn});
}

TEST_F(UnitFaultsTest, ASlowUnitActsAndAnswersWhenTheDelayHasPassedOnTheTimeline) {
    faults().replyDelayMs = 1500;
    EXPECT_TRUE(ask(kEditorOn).empty());
    rig.advance(1499ms);
    EXPECT_TRUE(rig.replies().empty());
    EXPECT_FALSE(rig.unit->editorMode());
    rig.advance(1ms);
    EXPECT_EQ(rig.replies(), std::vector<Bytes>{kEditorOn});

    rig.send(kMount);
    rig.send(kAskMount);
    rig.advance(1499ms);
    EXPECT_TRUE(rig.volumes.volumes().empty());
    rig.advance(1ms);
    EXPECT_EQ(rig.replies(), (std::vector<Bytes>{kMount, kMount}));
    EXPECT_EQ(rig.volumes.volumes().size(), 1u);
}

TEST_F(UnitFaultsTest, ALateReplyIsLostWithTheCable) {
    faults().replyDelayMs = 1000;
    rig.send(kEditorOn);
    rig.unit->unplug();
    ASSERT_TRUE(rig.plugIn());
    rig.advance(1000ms);
    EXPECT_TRUE(rig.replies().empty());
    EXPECT_FALSE(rig.unit->editorMode());
}

TEST_F(UnitFaultsTest, AUnitHeldByAnotherEditorSaysSoToEveryone) {
    faults().heldByOtherEditor = true;
    EXPECT_EQ(ask(kAskEditorMode), std::vector<Bytes>{kEditorOn});
    EXPECT_EQ(ask(kEditorOff), std::vector<Bytes>{kEditorOn});
    faults().heldByOtherEditor = false;
    EXPECT_EQ(ask(kAskEditorMode), std::vector<Bytes>{kEditorOff});
}

TEST_F(UnitFaultsTest, ALostKitReplyIsMissingFromAsManyListsAsAsked) {
    ask(kEditorOn);
    const std::vector<int> whole = slotsOf(ask(kAskKits));
    ASSERT_GT(whole.size(), 4u);
    faults().dropKitReply = 3;
    faults().dropKitLists = 2;
    std::vector<int> missing = whole;
    missing.erase(missing.begin() + 3);
    EXPECT_EQ(slotsOf(ask(kAskKits)), missing);
    EXPECT_EQ(slotsOf(ask(kAskKits)), missing);
    EXPECT_EQ(slotsOf(ask(kAskKits)), whole);
    EXPECT_EQ(faults().dropKitLists, 0);

    // Losing the closing slot leaves the list without an end.
    faults().dropKitReply = whole.back();
    faults().dropKitLists = -1;
    for (int list = 0; list < 3; ++list) {
        const std::vector<Bytes> replies = ask(kAskKits);
        ASSERT_EQ(replies.size(), whole.size() - 1);
        EXPECT_NE(replies.back()[13], 0);
    }
}

TEST_F(UnitFaultsTest, AUnitThatNeverMountsNeitherAnswersNorShowsItsStorage) {
    faults().neverMount = true;
    ask(kEditorOn);
    EXPECT_TRUE(ask(kMount).empty());
    EXPECT_TRUE(rig.volumes.volumes().empty());
    EXPECT_EQ(ask(kAskMount), std::vector<Bytes>{kUnmounted});
}

TEST_F(UnitFaultsTest, PullingTheCableOnAStepTakesEndpointsAndStorageAway) {
    ask(kEditorOn);
    ask(kMount);
    faults().unplugAtStep = sim::UnitStep::KitRequest;
    EXPECT_TRUE(ask(kAskKits).empty());
    EXPECT_FALSE(rig.unit->pluggedIn());
    EXPECT_FALSE(rig.endpointsListed());
    EXPECT_EQ(rig.app.removed(), (std::vector<std::string>{"QL-900 MIDI 1", "QL-900 MIDI 1"}));
    EXPECT_TRUE(rig.volumes.volumes().empty());

    // Plugged in again the unit has forgotten the editor; its files are still there.
    faults().unplugAtStep = sim::UnitStep::None;
    ASSERT_TRUE(rig.plugIn());
    EXPECT_EQ(ask(kAskEditorMode), std::vector<Bytes>{kEditorOff});
    EXPECT_EQ(ask(kMount), std::vector<Bytes>{kUnmounted});
}

TEST_F(UnitFaultsTest, PullingTheCableOnTheNthMessageCountsEveryMessage) {
    faults().unplugAtMessage = 3;
    Bytes badChecksum = kEditorOn;
    badChecksum[14] ^= 1;
    EXPECT_TRUE(ask(badChecksum).empty());
    EXPECT_EQ(ask(kEditorOn), std::vector<Bytes>{kEditorOn});
    EXPECT_TRUE(rig.unit->pluggedIn());
    EXPECT_TRUE(ask(kAskEditorMode).empty());
    EXPECT_FALSE(rig.unit->pluggedIn());
    EXPECT_FALSE(rig.endpointsListed());
}

// Requests come from the program's thread while the cable is pulled and plugged in again and
// late replies fall due on the timeline's worker.
TEST_F(UnitFaultsTest, KeepsItsStateWhileRequestsArriveDuringUnplugging) {
    faults().replyDelayMs = 5;
    std::atomic<std::int64_t> destination = rig.destination;
    std::atomic<bool> done = false;
    std::thread program([&] {
        for (int i = 0; i < 300; ++i) {
            rig.midi.send(destination, kEditorOn);
            rig.midi.send(destination, kAskKits);
            std::this_thread::yield();
        }
        done = true;
    });
    while (!done) {
        rig.advance(5ms);
        rig.unit->unplug();
        ASSERT_TRUE(rig.plugIn());
        destination = rig.destination;
    }
    program.join();
    faults().replyDelayMs = 0;
    rig.replies();
    EXPECT_EQ(ask(kEditorOff), std::vector<Bytes>{kEditorOff});
}

}  // namespace
}  // namespace tavrel
