// The link and the simulated unit together, as the program runs them, on a manual clock: each
// of the unit's misbehaviours shows the link's own result, alert, log line and time-out.
#include "device/CLoadExec.h"
#include "device/LinkFixture.h"
#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/Notifications.h"
#include "sim/FactoryKits.h"
#include "sim/SimulatedUnit.h"
#include "sim/UnitModel.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

using namespace std::chrono_literals;

class LinkWithSimulatedUnit : public test::LinkFixture {
protected:
    void SetUp() override { start(sim::UnitModel::ql900()); }
    void start(const sim::UnitModel& model) {
        // Contexts end in the order they began: the old one, and the link it owns, go first.
        link = nullptr;
        context.reset();
        midi.reset();  // the MIDI service takes one client at a time
        simulated.reset();
        context = std::make_unique<Context>();
        simulated = std::make_unique<sim::SimulatedUnit>(model, service, volumes, timeline,
                                                         temp.folder("storage"));
        ASSERT_TRUE(simulated->plugIn());
        connect();
        settle();
    }
    sim::UnitFaults& faults() { return simulated->faults(); }

    std::unique_ptr<sim::SimulatedUnit> simulated;
};

TEST_F(LinkWithSimulatedUnit, LoadsAndReleasesAResponsiveUnitWithoutWaiting) {
    for (const bool xe3 : {false, true}) {
        start(xe3 ? sim::UnitModel::ql414xe3() : sim::UnitModel::ql900());
        ASSERT_TRUE(link->getConnected());
        EXPECT_EQ(link->getConnectedModel(), xe3);
        ASSERT_FALSE(link->getOccupied());
        const auto begin = elapsed();

        ASSERT_TRUE(CLoadExec::exec());

        EXPECT_EQ(elapsed(), begin) << "no wait outlasts a reply that came at once";
        EXPECT_EQ(context->kits().getKitArray().size(), sim::FactoryKits::names().size());
        EXPECT_TRUE(context->patterns().getActive());
        EXPECT_TRUE(link->isVolumeExist());
        ASSERT_TRUE(link->editorOff());
        EXPECT_FALSE(simulated->editorMode());
        EXPECT_FALSE(link->isVolumeExist());
        EXPECT_TRUE(alerts.shown.empty());
    }
}

TEST_F(LinkWithSimulatedUnit, AUnitHeldElsewhereIsReportedAndASilentOneIsBusy) {
    faults().heldByOtherEditor = true;
    EXPECT_TRUE(link->getOccupied());
    EXPECT_FALSE(CLoadExec::exec());
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Unit already occupied."});

    faults().heldByOtherEditor = false;
    faults().silent = true;
    alerts.shown.clear();
    const auto begin = elapsed();
    EXPECT_TRUE(link->getOccupied()) << "no answer counts as held";
    EXPECT_EQ(elapsed() - begin, 5000ms);
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Unit is busy."});
}

TEST_F(LinkWithSimulatedUnit, ALostKitReplyIsAskedForAgainAfterItsWindow) {
    faults().dropKitReply = 2;
    faults().dropKitLists = 1;
    ASSERT_FALSE(link->getOccupied());
    const auto begin = elapsed();

    ASSERT_TRUE(CLoadExec::exec());

    const auto kits = static_cast<int>(sim::FactoryKits::names().size());
    EXPECT_EQ(
        log.count("Rx kit name retry:" + std::to_string(kits) + "/" + std::to_string(kits + 1)), 1);
    EXPECT_EQ(log.count("RQ KIT"), 2);
    EXPECT_EQ(elapsed() - begin, 5000ms);
    EXPECT_EQ(context->kits().getKitArray().size(), sim::FactoryKits::names().size());
}

TEST_F(LinkWithSimulatedUnit, StorageThatNeverMountsEndsTheSequenceAfterTenSeconds) {
    faults().neverMount = true;
    ASSERT_FALSE(link->getOccupied());
    const auto begin = elapsed();

    EXPECT_FALSE(CLoadExec::exec());

    EXPECT_EQ(elapsed() - begin, 10000ms);
    EXPECT_EQ(log.count("RQ KIT"), 0);
    EXPECT_TRUE(alerts.shown.empty());
}

TEST_F(LinkWithSimulatedUnit, UnpluggingMidSequenceLeavesNoUnit) {
    test::NotificationRecorder notes({NOTIFY_MIDI_CONNECT});
    faults().unplugAtStep = sim::UnitStep::Mount;
    ASSERT_FALSE(link->getOccupied());

    EXPECT_FALSE(CLoadExec::exec());
    settle();

    EXPECT_FALSE(link->getConnected());
    EXPECT_EQ(link->getEditorMode(), 0);
    EXPECT_GE(notes.count(NOTIFY_MIDI_CONNECT, link), 1);
}

}  // namespace
}  // namespace tavrel
