#include "device/LinkFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
using test::ScriptedUnit;
using Message = ScriptedUnit::Message;

// Each wait gives up exactly at its deadline on the manual clock, in a fraction of that in
// real time, and shows its alert.
class LinkTimeout : public test::LinkFixture {
protected:
    void SetUp() override {
        makeUnit();
        connect();
    }
    void silentTo(std::initializer_list<Message> messages) {
        ScriptedUnit::Behaviour b;
        b.silentTo = messages;
        unit->behave(b);
    }
    void holdUnit() {
        ASSERT_FALSE(link->getOccupied());
        ASSERT_TRUE(link->setEditorMode());
    }
    void holdAndMount() {
        holdUnit();
        ASSERT_TRUE(link->mountQl());
    }
    // Runs `step` and checks it failed after exactly `deadline` of virtual time.
    void expectGivesUpAfter(std::chrono::milliseconds deadline, const std::function<bool()>& step,
                            bool failedResult = false) {
        const auto virtualStart = elapsed();
        const auto realStart = std::chrono::steady_clock::now();
        EXPECT_EQ(step(), failedResult);
        EXPECT_EQ(elapsed() - virtualStart, deadline);
        EXPECT_LT(std::chrono::steady_clock::now() - realStart, deadline / 2)
            << "the manual clock must not cost real time";
    }
};

TEST_F(LinkTimeout, NoAnswerToEditorOnIsBusyAfterFiveSecondsWithEditorModeKept) {
    silentTo({Message::EditorOn});
    expectGivesUpAfter(5000ms, [&] { return link->getOccupied() || link->setEditorMode(); });
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Unit is busy."});
    EXPECT_EQ(link->getEditorMode(), 1);
}

TEST_F(LinkTimeout, NoAnswerToTheEditorModeQuestionCountsAsHeldAfterFiveSeconds) {
    holdUnit();
    silentTo({Message::AskEditorMode});
    expectGivesUpAfter(
        5000ms, [&] { return link->getOccupied(); }, true);
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Unit is busy."});
    EXPECT_EQ(link->getEditorMode(), 0);
}

TEST_F(LinkTimeout, NoKitListIsBusyAfterFiveRequestsFiveSecondsApart) {
    holdUnit();
    silentTo({Message::AskKits});
    expectGivesUpAfter(25000ms, [&] { return link->getKitName(); });
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Unit is busy."});
    std::vector<std::chrono::milliseconds> requests;
    for (const auto& h : unit->heard()) {
        if (h.bytes.at(8) == 0x11 && h.bytes.at(11) == 0x01) requests.push_back(h.at);
    }
    EXPECT_EQ(requests,
              (std::vector<std::chrono::milliseconds>{0ms, 5000ms, 10000ms, 15000ms, 20000ms}));
}

TEST_F(LinkTimeout, NoMountReportAndNoVolumeFailAfterTenSecondsWithoutAlert) {
    holdUnit();
    silentTo({Message::Mount});
    expectGivesUpAfter(10000ms, [&] { return link->mountQl(); });
    EXPECT_TRUE(alerts.shown.empty());
}

TEST_F(LinkTimeout, AUnitStillMountedFiveSecondsAfterEditorOffIsAnErrorOnQuitting) {
    holdAndMount();
    silentTo({Message::EditorOff});
    expectGivesUpAfter(5000ms, [&] { return link->editorOff(); });
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Tavrel quit, Error."});
    EXPECT_EQ(link->getEditorMode(), 1);
    EXPECT_FALSE(link->isVolumeExist()) << "the volume was ejected before the unit was told";
}

TEST_F(LinkTimeout, AUnitStillMountedFifteenSecondsAfterUnmountIsADisconnectError) {
    holdAndMount();
    silentTo({Message::Unmount});
    expectGivesUpAfter(15000ms, [&] { return link->unmountQl(); });
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Disconnect error."});
    EXPECT_EQ(link->getEditorMode(), 1);
}

TEST_F(LinkTimeout, AReleaseWaitsForARefusedVolumeToGoThenTellsTheUnit) {
    holdAndMount();
    volumes.setRefuseEject(true);
    // The user ejects it by hand three seconds on.
    timeline.after(3000ms, [&] { volumes.unmount(unitRoot); });
    const auto start = elapsed();

    EXPECT_TRUE(link->editorOff());

    EXPECT_EQ(elapsed() - start, 3000ms) << "the unit answers at once";
    EXPECT_EQ(unit->heard().back().at, 3000ms);
    EXPECT_EQ(link->getEditorMode(), 0);
    EXPECT_FALSE(unit->isMounted());
    EXPECT_TRUE(alerts.shown.empty());
}

}  // namespace
}  // namespace tavrel
