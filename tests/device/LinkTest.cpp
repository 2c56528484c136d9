// The link against the simulated unit on the manual clock. The unit's fault switches stand in
// for a misbehaving unit; replies it would never send are sent by hand from its endpoint.
#include "device/CLoadExec.h"
#include "device/LinkRig.h"
#include "model/CKitMgr.h"
#include "sim/FactoryKits.h"
#include "sim/SimProtocol.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using ms = std::chrono::milliseconds;
using test::Bytes;
using Strings = std::vector<std::string>;
using test::made;

// The factory kits as the link keeps them: padded to 15 characters.
Strings factoryKits() {
    Strings names;
    for (const auto name : sim::FactoryKits::names()) {
        names.emplace_back(name);
        names.back().resize(15, ' ');
    }
    return names;
}

class LinkTest : public ::testing::Test, public test::LinkRig {
protected:
    void holdUnit() {
        ASSERT_FALSE(link->getOccupied());
        ASSERT_TRUE(link->setEditorMode());
    }
    // Sends `bytes` from the unit's source, unasked.
    void unitSends(const Bytes& bytes) {
        for (const auto& source : service.sources()) {
            if (source.displayName == unit->model().name() + " MIDI 1") {
                EXPECT_TRUE(service.inject(source.uniqueId, bytes));
            }
        }
    }
};

// The unit takes a message only in its model's header with the right checksum, and says which
// request it recognised.
TEST_F(LinkTest, EachMessageIsTheRequestItIsNamedForInTheConnectedModelsForm) {
    // Plain functions rather than member pointers: g++ 12's UB sanitizer misreads calls
    // through those.
    using Send = void (*)(CConnectionMgr&);
    const std::pair<Send, const char*> messages[] = {
        {[](CConnectionMgr& l) { l.txEditorOnMsg(); }, "editor-on"},
        {[](CConnectionMgr& l) { l.txEditorOffMsg(); }, "editor-off"},
        {[](CConnectionMgr& l) { l.txMountMsg(); }, "mount"},
        {[](CConnectionMgr& l) { l.txUnmountMsg(); }, "unmount"},
        {[](CConnectionMgr& l) { l.rqEditorModeMsg(); }, "editor-request"},
        {[](CConnectionMgr& l) { l.txReqMountMsg(); }, "mount-request"},
        {[](CConnectionMgr& l) { l.txReqKitNameMsg(); }, "kit-request"},
    };
    for (const auto& model : {sim::UnitModel::ql900(), sim::UnitModel::ql414xe3()}) {
        start(model);
        for (const auto& [send, request] : messages) {
            send(*link);
            EXPECT_EQ(log.count(std::string("sim: rx ") + request), 1) << model.name() << request;
        }
        EXPECT_EQ(unit->messagesIgnored(), 0);
    }
}

TEST_F(LinkTest, TheUnitIsFoundByItsModelsNameWithBothEndpointsOfOneModel) {
    unit->unplug();
    service.addSource("Keys:out");
    service.addDestination("Synth:in");
    const std::int64_t xe3In = service.addSource("USB QL-414XE3 Rhythm MIDI 1");
    const std::int64_t xe3Out = service.addDestination("USB QL-414XE3 Rhythm MIDI 1");
    settle();
    EXPECT_TRUE(link->getConnected());
    EXPECT_TRUE(link->getConnectedModel());
    link->rqEditorModeMsg();
    EXPECT_EQ(service.backlog(xe3Out).size(), 1u);

    ASSERT_TRUE(service.removeEndpoint(xe3In));
    service.addSource("QL-900 MIDI 1");
    settle();
    EXPECT_FALSE(link->getConnected()) << "a QL-900's source and a QL-414XE3's destination";
    EXPECT_FALSE(link->setEditorMode());
    EXPECT_TRUE(alerts.shown.empty());
    EXPECT_EQ(service.backlog(xe3Out).size(), 1u);
}

TEST_F(LinkTest, OnlyReportsInTheConnectedModelsHeaderCountAndAnUnmountReportEndsTheHold) {
    holdUnit();
    ASSERT_TRUE(link->mountQl());
    ASSERT_EQ(link->getMount(), 1);
    const auto unmounted = [](const sim::UnitModel& model) {
        return sim::SimProtocol::dataSet(model, sim::SimProtocol::kMountAddress, Bytes{0});
    };
    unitSends(unmounted(sim::UnitModel::ql414xe3()));
    settle();
    EXPECT_EQ(link->getMount(), 1) << "another model's report";
    EXPECT_EQ(link->getEditorMode(), 1);

    unitSends(unmounted(sim::UnitModel::ql900()));  // the unit leaves mount mode by itself
    settle();
    EXPECT_EQ(link->getMount(), 0);
    EXPECT_EQ(link->getEditorMode(), 0);
    EXPECT_EQ(log.count("device: rx mount: 1"), 1);
    EXPECT_EQ(log.count("device: rx mount: 0"), 1);
    EXPECT_EQ(log.count("device: rx editor mode: 1"), 1);
}

// Reading them whole is the pattern load's to show.
TEST_F(LinkTest, TheUnitsStorageIsTheFirstVolumeHoldingItsFolderAndItsFilesAreReadWhileItIsThere) {
    const fs::path unitRoot = temp / "unit";
    const fs::path data = made(unitRoot / "VANTIK" / "DATA");
    test::writeBytes(data / "RHYTHM.QL0", Bytes{1, 2, 3});
    made(data / "MEMORY1.QL0");
    for (const auto* name : {"stick", "camera/vantik"})
        ASSERT_TRUE(volumes.mount(made(temp / name)));
    link->storeMountURL();
    EXPECT_EQ(link->getMountURL(), std::nullopt) << "letter case counts on this file system";
    EXPECT_EQ(link->getFileURL("/RHYTHM.QL0"), std::nullopt);
    EXPECT_EQ(link->getFileData("/RHYTHM.QL0"), std::nullopt) << "no volume of the unit's yet";

    ASSERT_TRUE(volumes.mount(unitRoot));
    ASSERT_TRUE(volumes.mount(made(temp / "second" / "VANTIK").parent_path()));
    link->storeMountURL();
    EXPECT_EQ(link->getMountURL(), unitRoot);
    EXPECT_EQ(link->getFileURL("RHYTHM.QL0"), data / "RHYTHM.QL0");
    EXPECT_EQ(link->getFileData("/RHYTHM.QL0"), (Bytes{1, 2, 3}));
    EXPECT_FALSE(link->isDataFileExist("/SYSTEM1.QL0"));
    EXPECT_EQ(link->getFileData("/MEMORY1.QL0"), std::nullopt) << "a folder is not a file";

    ASSERT_TRUE(volumes.unmount(unitRoot));
    ASSERT_TRUE(volumes.unmount(temp / "second"));
    link->storeMountURL();
    EXPECT_EQ(link->getMountURL(), unitRoot) << "kept when no volume holds the unit's folder";
    EXPECT_FALSE(link->isVolumeExist()) << "but gone, as when ejected by hand";
    EXPECT_FALSE(link->isDataFileExist("/RHYTHM.QL0"));
    EXPECT_EQ(link->getFileData("/RHYTHM.QL0"), std::nullopt) << "the volume is gone";
}

TEST_F(LinkTest, KitNamesAreReadOnePerSlotUntilTheSlotThatEndsTheList) {
    const auto slot = [&](std::uint32_t offset, const std::string& name, std::uint8_t pad = ' ') {
        Bytes data(16, pad);
        std::copy(name.begin(), name.end(), data.begin());
        return sim::SimProtocol::dataSet(unit->model(), sim::SimProtocol::kKitNameAddress + offset,
                                         data);
    };
    // By hand, with a reply from past the table; the unit's own list comes after it.
    const auto sendList = [&](std::uint32_t strayOffset) {
        timeline().after(0ms, [&, strayOffset] {
            for (const Bytes& reply :
                 {slot(0, "ABCDEFGHIJKLMNOP"), slot(16, "  Rock"), slot(32, ""), slot(48, "Jazz"),
                  slot(strayOffset, "Stray"), slot(64, "", 0)}) {
                unitSends(reply);
            }
            faults().silent = false;
        });
        faults().silent = true;
    };
    holdUnit();
    sendList(1649);
    EXPECT_TRUE(link->getKitName());
    EXPECT_EQ(
        context->kits().getKitArray(),
        (Strings{"ABCDEFGHIJKLMNO", "Rock" + std::string(9, ' '), "Jazz" + std::string(11, ' ')}))
        << "16 characters cut to 15, leading spaces skipped, a slot of spaces left out";
    EXPECT_EQ(log.count("retry"), 0) << "a reply 1649 bytes on is not counted";
    EXPECT_EQ(elapsed(), 0ms);

    sendList(1648);
    EXPECT_TRUE(link->getKitName());
    EXPECT_EQ(log.count("device: Rx kit name retry:6/5"), 1) << "one at 1648 still counts";
    EXPECT_EQ(elapsed(), 5000ms);
}

TEST_F(LinkTest, AKitListWithAReplyLostIsAskedForAgainEveryFiveSecondsFiveTimes) {
    const auto kits = static_cast<int>(sim::FactoryKits::names().size());
    const std::string retry =
        "device: Rx kit name retry:" + std::to_string(kits) + "/" + std::to_string(kits + 1);
    for (const bool always : {false, true}) {
        start(sim::UnitModel::ql900());
        holdUnit();
        faults().dropKitReply = 2;
        faults().dropKitLists = always ? -1 : 1;
        const auto begin = elapsed();

        EXPECT_EQ(link->getKitName(), !always);

        std::vector<ms> requests;
        for (const ms at : log.times("RQ KIT")) requests.push_back(at - begin);
        const std::vector<ms> expected{0ms, 5000ms, 10000ms, 15000ms, 20000ms};
        EXPECT_EQ(requests,
                  always ? expected : std::vector<ms>(expected.begin(), expected.begin() + 2));
        EXPECT_EQ(log.count(retry), always ? 5 : 1);
        EXPECT_EQ(elapsed() - begin, always ? 25000ms : 5000ms);
        EXPECT_EQ(alerts.texts(), always ? Strings{"Unit is busy."} : Strings{});
        EXPECT_EQ(context->kits().getKitArray(), always ? Strings{} : factoryKits());
    }
}

// A step gives up on a unit that stays silent at its own deadline, with its alert. A unit that
// vanishes while a step waits can no longer answer: the step ends as it goes, without the alert
// of a silent unit, and the rescan that follows (one for each of its endpoints) finds no unit
// until it is plugged in again.
TEST_F(LinkTest, AStepGivesUpAtItsDeadlineWithItsAlertOrAtOnceWithoutOneWhenTheUnitGoes) {
    enum Prepared { Asked, Holding, Mounted };
    // A unit that never mounts answers everything else; a silent one answers nothing, and the
    // one that goes is silent until it is unplugged 1.5 s in.
    enum Fault { Silent, NeverMounts, Goes };
    const struct {
        const char* step;
        bool (*run)(CConnectionMgr&);
        Prepared prepared;
        Fault fault;
        bool result;
        ms ends;
        const char* alert;
        int editorMode;
    } cases[] = {
        {"setEditorMode", [](CConnectionMgr& l) { return l.setEditorMode(); }, Asked, Silent, false,
         5000ms, "Unit is busy.", 1},
        {"getOccupied", [](CConnectionMgr& l) { return l.getOccupied(); }, Holding, Silent, true,
         5000ms, "Unit is busy.", 0},
        {"mountQl", [](CConnectionMgr& l) { return l.mountQl(); }, Holding, NeverMounts, false,
         10000ms, nullptr, 1},
        {"editorOff", [](CConnectionMgr& l) { return l.editorOff(); }, Mounted, Silent, false,
         5000ms, "Tavrel quit, Error.", 1},
        {"unmountQl", [](CConnectionMgr& l) { return l.unmountQl(); }, Mounted, Silent, false,
         15000ms, "Disconnect error.", 1},
        {"setEditorMode as the unit goes", [](CConnectionMgr& l) { return l.setEditorMode(); },
         Asked, Goes, false, 1500ms, nullptr, 0},
        {"getOccupied as the unit goes", [](CConnectionMgr& l) { return l.getOccupied(); }, Holding,
         Goes, true, 1500ms, nullptr, 0},
        {"getKitName as the unit goes", [](CConnectionMgr& l) { return l.getKitName(); }, Holding,
         Goes, false, 1500ms, nullptr, 0},
        {"mountQl as the unit goes", [](CConnectionMgr& l) { return l.mountQl(); }, Holding, Goes,
         false, 1500ms, nullptr, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.step);
        start(sim::UnitModel::ql900());
        ASSERT_FALSE(link->getOccupied());
        ASSERT_TRUE(c.prepared < Holding || link->setEditorMode());
        ASSERT_TRUE(c.prepared < Mounted || link->mountQl());
        test::NotificationRecorder notes({NOTIFY_MIDI_CONNECT});
        (c.fault == NeverMounts ? faults().neverMount : faults().silent) = true;
        if (c.fault == Goes) timeline().after(1500ms, [this] { unit->unplug(); });
        const auto begin = elapsed();
        const auto realBegin = std::chrono::steady_clock::now();

        EXPECT_EQ(c.run(*link), c.result);

        EXPECT_EQ(elapsed() - begin, c.ends);
        if (c.fault != Goes) {
            EXPECT_LT(std::chrono::steady_clock::now() - realBegin, c.ends / 2)
                << "the manual clock must not cost real time";
        }
        EXPECT_EQ(alerts.texts(), c.alert ? Strings{c.alert} : Strings{});
        EXPECT_EQ(link->unitGone(), c.fault == Goes);
        settle();
        EXPECT_EQ(link->getEditorMode(), c.editorMode) << "dropped without telling a unit gone";
        if (c.prepared == Mounted) {
            EXPECT_FALSE(link->isVolumeExist()) << "ejected first";
        }
        if (c.fault != Goes) continue;
        EXPECT_FALSE(link->getConnected());
        EXPECT_EQ(notes.count(NOTIFY_MIDI_CONNECT, link), 2);
        faults().silent = false;
        ASSERT_TRUE(unit->plugIn());
        settle();
        EXPECT_FALSE(link->unitGone()) << "the unit plugged in again is selected afresh";
    }
}

TEST_F(LinkTest, AReleaseWaitsForAVolumeTheDesktopKeepsToBeEjectedByHandThenTellsTheUnit) {
    holdUnit();
    ASSERT_TRUE(link->mountQl());
    volumes.setRefuseEject(true);
    timeline().after(3000ms, [&] { volumes.unmount(unit->storageRoot()); });
    const auto begin = elapsed();

    EXPECT_TRUE(link->editorOff());

    EXPECT_EQ(log.times("TX Editor OFF"), std::vector<ms>{begin + 3000ms});
    EXPECT_EQ(elapsed() - begin, 3000ms) << "the unit answers at once";
    EXPECT_EQ(link->getEditorMode(), 0);
    EXPECT_FALSE(unit->editorMode());
    EXPECT_TRUE(alerts.shown.empty());
}

TEST_F(LinkTest, AResponsiveUnitOfEitherModelIsLoadedWithoutIdleSecondsAndReleased) {
    const std::pair<sim::UnitModel, ms> runs[] = {{sim::UnitModel::ql900(), 0ms},
                                                  {sim::UnitModel::ql414xe3(), 250ms}};
    for (const auto& [model, delay] : runs) {
        SCOPED_TRACE(model.name());
        start(model);
        putTwoPatternsOnTheUnit();
        const CPatternMgr& patterns = context->patterns();
        faults().replyDelayMs = static_cast<int>(delay.count());
        ASSERT_FALSE(link->getOccupied());
        const auto begin = elapsed();

        EXPECT_TRUE(CLoadExec::exec());

        // Editor on, mount and the kit list; a single retry would cost five seconds.
        EXPECT_EQ(elapsed() - begin, 3 * delay);
        EXPECT_EQ(context->kits().getKitArray(), factoryKits());
        EXPECT_EQ(patterns.getPtnData().size(), 2u);
        EXPECT_EQ(patterns.getCurPattarnNum(), 0);
        EXPECT_TRUE(link->editorOff());
        EXPECT_TRUE(alerts.shown.empty());
    }
}

// On a desktop that mounts nothing by itself the unit's volume shows up without a mount: the
// link mounts it, leaves a stranger's medium alone and gives the volume back at editor off,
// the second time too, when the root found the first time is already known.
TEST_F(LinkTest, AVolumeNobodyMountsIsMountedByTheLinkAndGivenBackAtEditorOff) {
    volumes.setAutomount(false);
    ASSERT_TRUE(volumes.mount(made(temp / "stick")));
    const std::vector<fs::path> unitOnly{VolumeService::normalPath(unit->storageRoot())};
    for (int round = 1; round <= 2; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(volumes.volumes().empty());
        ASSERT_FALSE(link->getOccupied());

        EXPECT_TRUE(CLoadExec::exec());
        EXPECT_EQ(volumes.volumes(), unitOnly);
        EXPECT_TRUE(link->editorOff());
        EXPECT_TRUE(volumes.volumes().empty());
    }
    EXPECT_TRUE(alerts.shown.empty());
}

}  // namespace
}  // namespace tavrel
