#include "device/LinkFixture.h"
#include "model/CKitMgr.h"
#include "model/NotificationCenter.h"
#include "model/Notifications.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
using test::ScriptedUnit;
using Message = ScriptedUnit::Message;
using Bytes = ScriptedUnit::Bytes;

class LinkProtocol : public test::LinkFixture {
protected:
    // Connected and holding the unit, as after the first step of the load sequence.
    void holdUnit() {
        if (!unit) makeUnit();
        connect();
        ASSERT_FALSE(link->getOccupied());
        ASSERT_TRUE(link->setEditorMode());
    }
    std::vector<std::string> kitNames() { return context->kits().getKitArray(); }
    // A kit name as stored: cut to 15 characters, the unit's space padding kept.
    static std::string stored(std::string name) {
        name.resize(15, ' ');
        return name;
    }
};

TEST_F(LinkProtocol, EveryMessageIsTheModelsHeaderTheCommandAndItsStoredBody) {
    makeUnit();
    connect();
    link->txEditorOnMsg();
    link->txEditorOffMsg();
    link->txMountMsg();
    link->txUnmountMsg();
    link->rqEditorModeMsg();
    link->txReqMountMsg();
    link->txReqKitNameMsg();

    const Bytes h{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04};
    auto message = [&](std::initializer_list<std::uint8_t> rest) {
        Bytes m = h;
        m.insert(m.end(), rest);
        return m;
    };
    EXPECT_EQ(heardBytes(),
              (std::vector<Bytes>{
                  message({0x12, 0x7F, 0x70, 0x00, 0x00, 0x01, 0x10, 0xF7}),
                  message({0x12, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x11, 0xF7}),
                  message({0x12, 0x7F, 0x70, 0x00, 0x01, 0x01, 0x0F, 0xF7}),
                  message({0x12, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x10, 0xF7}),
                  message({0x11, 0x7F, 0x70, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0xF7}),
                  message({0x11, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x0F, 0xF7}),
                  message({0x11, 0x7F, 0x70, 0x01, 0x00, 0x00, 0x00, 0x00, 0x63, 0x2D, 0xF7}),
              }));
    for (const char* label : {"TX Editor ON", "TX Editor OFF", "TX MOUNT", "TX UNMOUNT",
                              "RQ Editor Mode", "RQ MOUNT", "RQ KIT"}) {
        EXPECT_EQ(log.count(std::string("device: ") + label), 1) << label;
    }
}

TEST_F(LinkProtocol, AUnitOfTheSecondModelAmongOtherWordsIsFoundAndSpokenToInItsHeader) {
    service.addSource("Keys:out");
    service.addDestination("Synth:in");
    makeUnit("QL-414XE3", "USB QL-414XE3 Rhythm MIDI 1");
    connect();

    EXPECT_TRUE(link->getConnected());
    EXPECT_TRUE(link->getConnectedModel());
    EXPECT_FALSE(link->getOccupied()) << "the unit's answer in its own header is taken";
    EXPECT_TRUE(link->setEditorMode());
    for (const Bytes& m : heardBytes()) EXPECT_EQ(m.at(7), 0x05);
    EXPECT_EQ(heardBytes().size(), 2u);
}

TEST_F(LinkProtocol, ASourceOfOneModelWithADestinationOfTheOtherIsNoUnit) {
    service.addSource("QL-900 MIDI 1");
    const auto otherOut = service.addDestination("QL-414XE3 MIDI 1");
    connect();

    EXPECT_FALSE(link->getConnected());
    EXPECT_FALSE(link->setEditorMode());
    EXPECT_TRUE(alerts.shown.empty());
    EXPECT_TRUE(service.backlog(otherOut).empty());
}

TEST_F(LinkProtocol, EndpointChangesRescanDropEditorModeAndTellListeners) {
    std::vector<const void*> posted;
    const auto token = context->notifications().addObserver(
        NOTIFY_MIDI_CONNECT, [&](const Notification& n) { posted.push_back(n.object); });
    holdUnit();
    ASSERT_EQ(posted, std::vector<const void*>{link}) << "once when made";

    ASSERT_TRUE(service.removeEndpoint(unit->sourceId()));
    settle();
    EXPECT_FALSE(link->getConnected());
    EXPECT_EQ(link->getEditorMode(), 0) << "dropped without telling the unit";
    EXPECT_EQ(heardBytes().size(), 2u);

    service.addSource("QL-900 MIDI 1");
    settle();
    EXPECT_TRUE(link->getConnected());
    EXPECT_EQ(posted, (std::vector<const void*>{link, link, link}));
}

TEST_F(LinkProtocol, OnlyRepliesInTheConnectedModelsHeaderChangeTheState) {
    holdUnit();
    unit->send(unit->dataSet(ScriptedUnit::kMountAddress, {1}));
    settle();
    ASSERT_EQ(link->getMount(), 1);

    Bytes otherModel{0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x05,
                     0x12, 0x7F, 0x70, 0x00, 0x01, 0x00, 0x0F, 0xF7};
    unit->send(otherModel);
    settle();
    EXPECT_EQ(link->getMount(), 1);
    EXPECT_EQ(link->getEditorMode(), 1);

    // The unit leaves mount mode by itself: the editor's hold ends with it.
    unit->send({0xF0, 0x41, 0x10, 0x00, 0x00, 0x00, 0x00, 0x04, 0x12, 0x7F, 0x70, 0x00, 0x01, 0x00,
                0x0F, 0xF7});
    settle();
    EXPECT_EQ(link->getMount(), 0);
    EXPECT_EQ(link->getEditorMode(), 0);
    EXPECT_EQ(log.count("device: rx mount: 1"), 1);
    EXPECT_EQ(log.count("device: rx mount: 0"), 1);
    EXPECT_EQ(log.count("device: rx editor mode: 1"), 1);
}

TEST_F(LinkProtocol, KitNamesArriveOnePerSlotUntilTheSlotThatEndsTheList) {
    makeUnit();
    ScriptedUnit::Behaviour b;
    b.kits = {"ABCDEFGHIJKLMNOP", "  Rock", "                ", "Jazz"};
    // Past the table and its margin: not counted, so the list is still whole.
    b.strayKitOffset = 1649;
    unit->behave(b);
    holdUnit();

    EXPECT_TRUE(link->getKitName());

    EXPECT_EQ(kitNames(), (std::vector<std::string>{"ABCDEFGHIJKLMNO", "Rock" + std::string(9, ' '),
                                                    stored("Jazz")}))
        << "16 characters cut to 15, leading spaces skipped, a slot of spaces left out";
    EXPECT_EQ(log.count("device: 00:ABCDEFGHIJKLMNO"), 1);
    EXPECT_EQ(log.count("device: 03:Jazz"), 1);
    EXPECT_EQ(log.count("device: 04:"), 0);
    EXPECT_EQ(log.count("retry"), 0);
    EXPECT_EQ(log.count("RQ KIT"), 1);
    EXPECT_EQ(elapsed(), 0ms);
}

TEST_F(LinkProtocol, ALostKitReplyIsLoggedAndTheListAskedForAgainInTheNextWindow) {
    makeUnit();
    ScriptedUnit::Behaviour b;
    b.loseKitReply = 1;
    unit->behave(b);
    holdUnit();

    EXPECT_TRUE(link->getKitName());

    EXPECT_EQ(log.count("device: Rx kit name retry:3/4"), 1);
    const auto heard = unit->heard();
    ASSERT_EQ(heard.size(), 4u);
    EXPECT_EQ(heard[2].bytes, heard[3].bytes);
    EXPECT_EQ(heard[2].at, 0ms);
    EXPECT_EQ(heard[3].at, 5000ms) << "the window of the first request runs out first";
    EXPECT_EQ(kitNames(),
              (std::vector<std::string>{stored("Standard"), stored("Rock"), stored("Jazz")}));
    EXPECT_TRUE(alerts.shown.empty());
}

}  // namespace
}  // namespace tavrel
