// The drain thread, the timelines and the waiter, where the link's own tests do not reach:
// the real clock, and the edges of the manual one; and the process context, which worker
// threads read and no other thread may swap under them.
#include "device/DrainThread.h"
#include "device/ManualTimeline.h"
#include "device/RealTimeline.h"
#include "device/ThreadWaiter.h"
#include "model/Context.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
using ms = std::chrono::milliseconds;

TEST(Context, OneMadeOnAnotherThreadWhileOneIsCurrentEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Context context;
    EXPECT_DEATH(std::thread([] { const Context other; }).join(), "off the model's thread");
    const Context nested;  // on the model's thread: the usual scope of a test
    EXPECT_EQ(&Context::current(), &nested);
}

TEST(DrainThread, RunsNeverOverlapNoWakeIsLostAndWaitIdleWaitsForTheRun) {
    std::atomic<int> produced{0}, seen{0}, running{0}, runs{0};
    std::atomic<bool> overlapped{false};
    DrainThread drain([&] {
        if (running.fetch_add(1) != 0) overlapped = true;
        seen = produced.load();
        std::this_thread::sleep_for(100us);  // most wakes arrive while a run is under way
        runs.fetch_add(1);
        running.fetch_sub(1);
    });
    drain.waitIdle();
    EXPECT_EQ(runs.load(), 0) << "nothing woken, nothing run";

    std::thread producer([&] {
        for (int i = 1; i <= 2000; ++i) {
            produced = i;
            drain.wake();
        }
    });
    producer.join();
    drain.waitIdle();
    EXPECT_EQ(seen.load(), 2000) << "the last wake is followed by a run that sees the last value";
    EXPECT_FALSE(overlapped.load());
    for (int i = 1, before = runs.load(); i <= 20; ++i) {
        drain.wake();
        drain.waitIdle();
        EXPECT_EQ(runs.load(), before + i);
    }
}

TEST(ManualTimeline, RunsWorkOffTheCallersThreadAsTimePassesItsDueTimeInDueOrder) {
    ManualTimeline timeline;
    std::vector<std::string> ran;
    // Work that notes its name, the time it saw and whether it ran on the test's own thread.
    const auto noting = [&, caller = std::this_thread::get_id()](std::string what) {
        return [&, caller, what] {
            const auto at = std::chrono::duration_cast<ms>(timeline.elapsed()).count();
            const bool onCaller = std::this_thread::get_id() == caller;
            ran.push_back(what + "@" + std::to_string(at) + (onCaller ? " on the caller" : ""));
        };
    };
    timeline.after(3000ms, noting("late"));
    timeline.after(1000ms, noting("first"));
    timeline.after(1000ms, [&] {
        noting("second")();
        timeline.after(0ms, noting("at once"));
        timeline.after(200ms, noting("later"));
    });
    EXPECT_EQ(timeline.nextDue(), timeline.now() + 1000ms);
    timeline.advanceTo(timeline.now() + 999ms);
    EXPECT_TRUE(ran.empty());

    timeline.advanceTo(timeline.now() + 1001ms);
    EXPECT_EQ(ran,
              (std::vector<std::string>{"first@1000", "second@1000", "at once@1000", "later@1200"}))
        << "time stands at each piece's due time while it runs";
    EXPECT_EQ(timeline.elapsed(), 2000ms);
    EXPECT_EQ(timeline.nextDue(), timeline.now() + 1000ms);
    timeline.advanceTo(timeline.now() - 500ms);
    EXPECT_EQ(timeline.elapsed(), 2000ms) << "time never goes back";
}

TEST(ThreadWaiter, OnTheManualClockWorkDueAtTheDeadlineCountsAndLaterWorkDoesNot) {
    ManualTimeline timeline;
    ThreadWaiter waiter(timeline, {});
    std::atomic<bool> reply{false}, tooLate{false};
    timeline.after(5000ms, [&] { reply = true; });
    EXPECT_TRUE(waiter.waitFor(5000ms, [&] { return reply.load(); }));
    timeline.after(5001ms, [&] { tooLate = true; });
    EXPECT_FALSE(waiter.waitFor(5000ms, [&] { return tooLate.load(); }));
    EXPECT_EQ(timeline.elapsed(), 10000ms);
}

TEST(RealTimeline, RunsWorkOnItsTimerThreadNoEarlierThanDueAndAWaitSeesItAnnouncedOrCancelled) {
    std::atomic<bool> ranLate{false};
    {
        RealTimeline timeline;
        const auto start = timeline.now();
        const auto caller = std::this_thread::get_id();
        std::vector<Timeline::Clock::duration> ran;  // after the start
        std::promise<void> done;
        timeline.after(40ms, [&] {
            ran.push_back(timeline.now() - start);
            done.set_value();
        });
        timeline.after(20ms, [&] {
            EXPECT_NE(std::this_thread::get_id(), caller);
            ran.push_back(timeline.now() - start);
        });
        timeline.after(1h, [&] { ranLate = true; });
        done.get_future().wait();
        ASSERT_EQ(ran.size(), 2u);
        EXPECT_GE(ran[0], 20ms);
        EXPECT_GE(ran[1], 40ms);

        ThreadWaiter waiter(timeline);
        std::atomic<bool> announced{false}, unannounced{false};
        timeline.after(20ms, [&] {
            announced = true;
            waiter.notify();
        });
        EXPECT_TRUE(waiter.waitFor(60s, [&] { return announced.load(); }));
        timeline.after(20ms, [&] { unannounced = true; });
        EXPECT_TRUE(waiter.waitFor(60s, [&] { return unannounced.load(); }));
        timeline.after(20ms, [&] { waiter.cancel(); });
        EXPECT_FALSE(waiter.waitFor(60s, [] { return false; })) << "a cancel ends the wait";
        EXPECT_FALSE(waiter.waitFor(60s, [] { return false; })) << "and every later one";
        waiter.rearm();
        EXPECT_TRUE(waiter.waitFor(60s, [] { return true; }));
        EXPECT_LT(timeline.now() - start, 30s);
    }
    EXPECT_FALSE(ranLate.load()) << "work not yet due is dropped with the timeline";
}

}  // namespace
}  // namespace tavrel
