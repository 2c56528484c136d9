// The link's steps on the device thread, started and ended on the test's thread as the
// desktop's UI thread would.
#include "device/LinkRunner.h"

#include "device/LinkRig.h"
#include "model/CKitMgr.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <thread>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Step = LinkRunner::Step;
using Outcome = LinkRunner::Outcome;

// The unit holds two patterns, so that a load can be seen to have read them.
class Rig : public test::LinkRig {
public:
    explicit Rig(bool manualClock) : LinkRig(manualClock) { putTwoPatternsOnTheUnit(); }

    // Starts `step` and runs the caller's queue until its end; `beside` runs right after the
    // start, on the caller's thread.
    Outcome run(Step step, const std::function<void()>& beside = {}) {
        std::optional<Outcome> end;
        EXPECT_TRUE(runner.start(step, [&](const Outcome& o) {
            EXPECT_EQ(std::this_thread::get_id(), callerThread) << "ends on the caller's thread";
            end = o;
        }));
        if (beside) beside();
        caller.runUntil([&] { return end.has_value(); });
        return *end;
    }

    const std::thread::id callerThread = std::this_thread::get_id();
    LinkRunner runner{*link, caller.poster()};  // goes before the link
};

TEST(LinkRunner, ACancelledLoadEndsAtOnceAndTheLinkLetsTheUnitGoWithTheNextStep) {
    Rig rig(true);
    auto& timeline = rig.timeline();
    ASSERT_FALSE(rig.run(Step::AskOccupied).ok);
    // Every kit list loses a reply, so the load would wait 25 s for it; the cancel comes from
    // another thread 7 s in.
    rig.faults().dropKitReply = 2;
    rig.faults().dropKitLists = -1;
    timeline.after(7000ms, [&] { rig.runner.cancel(); });

    const Outcome loaded = rig.run(Step::LoadSequence, [&] {
        EXPECT_TRUE(rig.runner.busy());
        EXPECT_FALSE(rig.runner.start(Step::EditorOff, [](const Outcome&) { ADD_FAILURE(); }));
    });

    EXPECT_TRUE(loaded.cancelled);
    EXPECT_FALSE(loaded.ok);
    EXPECT_EQ(loaded.reason, "");
    EXPECT_EQ(timeline.elapsed(), 7000ms);
    EXPECT_TRUE(rig.alerts.texts().empty()) << "a cancel is not the unit's failure";
    EXPECT_TRUE(rig.context->kits().getKitArray().empty()) << "nothing read is applied";
    EXPECT_TRUE(rig.unit->editorMode()) << "held, as a failed kit request leaves it";
    EXPECT_FALSE(rig.runner.busy());

    const Outcome released = rig.run(Step::EditorOff);
    EXPECT_TRUE(released.ok);
    EXPECT_FALSE(released.cancelled) << "a cancel ends only the step it was meant for";
    EXPECT_FALSE(rig.unit->editorMode());
}

// The desktop's watch ticks on the caller's thread while a step runs on the device thread: it
// only reads the link's state and sends nothing, so the unit hears exactly the load's three
// requests and the step ends as it would without it.
TEST(LinkRunner, AWatchEveryTenthOfASecondThroughASlowLoadLeavesItsOutcomeAsItWas) {
    Rig rig(false);
    rig.faults().replyDelayMs = 250;
    ASSERT_FALSE(rig.run(Step::AskOccupied).ok);
    const int heard = rig.unit->messagesReceived();
    int busyTicks = 0;
    std::function<void()> watch = [&] {
        if (rig.runner.busy()) ++busyTicks;
        // What a watch may look at: connected, mounted, held, in editor mode.
        (void)rig.link->getConnected();
        (void)rig.link->getMount();
        (void)rig.link->getHeld();
        (void)rig.link->getEditorMode();
        (void)rig.link->isVolumeExist();  // the storage, as the apply worker reads it
        if (rig.runner.busy()) {
            rig.clock->after(100ms, [&] { rig.caller.poster()(watch); });
        }
    };

    const Outcome loaded = rig.run(Step::LoadSequence, watch);

    EXPECT_TRUE(loaded.ok);
    EXPECT_EQ(loaded.reason, "");
    EXPECT_EQ(rig.unit->messagesReceived() - heard, 3) << "editor on, mount, kit request";
    EXPECT_GE(busyTicks, 5) << "three replies 250 ms late give the watch time to tick";
    EXPECT_EQ(rig.link->getHeld(), true);
    EXPECT_EQ(rig.context->patterns().getPtnData().size(), 2u) << "applied on the caller's thread";
    EXPECT_TRUE(rig.run(Step::Unmount).ok);
}

// The first step that fails ends the load at its own time and leaves the link as it left it;
// one that fails without an alert of the link's says why in the system's words, so that every
// front end shows the same.
TEST(LinkRunner, AFailingStepEndsTheStepAtItsTimeWithItsAlertOrTheLinksReason) {
    const struct {
        const char* what;
        std::function<void(Rig&)> arrange;
        Step step;
        std::chrono::milliseconds elapsed;
        int sent;  // editor on, mount, kit request
        const char* reason;
        const char* alert;
        int editorMode;  // as the failing step left it
    } cases[] = {
        {"held by another editor", [](Rig& r) { r.faults().heldByOtherEditor = true; },
         Step::LoadSequence, 0ms, 0, "", "Unit already occupied.", 0},
        // Mounted, but no volume holds the unit's folder: looked for 4 s, then a second.
        {"mounts no unit folder", [](Rig& r) { fs::remove_all(r.unit->storageRoot() / "VANTIK"); },
         Step::LoadSequence, 5000ms, 2, "Unit storage not found.", nullptr, 1},
        {"a pattern file of three bytes",
         [](Rig& r) {
             test::writeBytes(r.patternFile(), {1, 2, 3});
         },
         Step::Mount, 5000ms, 3, "", "User pattern file format is wrong.", 1},
        {"unplugged while mounting", [](Rig& r) { r.faults().unplugAtStep = sim::UnitStep::Mount; },
         Step::LoadSequence, 0ms, 2, "Unit not connected.", nullptr, 0},
        {"kit names outside editor mode", [](Rig&) {}, Step::KitNames, 0ms, 0,
         "Unit left editor mode.", nullptr, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Rig rig(true);
        const auto& timeline = rig.timeline();
        c.arrange(rig);
        rig.run(Step::AskOccupied);
        const int heard = rig.unit->messagesReceived();
        const auto begin = timeline.elapsed();

        const Outcome outcome = rig.run(c.step);

        EXPECT_FALSE(outcome.ok);
        EXPECT_FALSE(outcome.cancelled);
        EXPECT_EQ(timeline.elapsed() - begin, c.elapsed);
        EXPECT_EQ(rig.unit->messagesReceived() - heard, c.sent);
        EXPECT_EQ(outcome.reason, c.reason);
        EXPECT_EQ(rig.alerts.texts(),
                  c.alert ? std::vector<std::string>{c.alert} : std::vector<std::string>{});
        EXPECT_EQ(rig.link->getEditorMode(), c.editorMode);
        EXPECT_TRUE(rig.context->patterns().getPtnData().empty());
    }
}

}  // namespace
}  // namespace tavrel
