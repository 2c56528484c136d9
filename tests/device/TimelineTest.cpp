#include "device/ManualTimeline.h"
#include "device/RealTimeline.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

using namespace std::chrono_literals;

// What ran, in order, with the time it saw and whether it ran on the test's thread.
struct Journal {
    void note(const std::string& what, Timeline& timeline) {
        std::lock_guard lock(mutex);
        entries.push_back(what);
        times.push_back(timeline.now());
        onCaller = onCaller || std::this_thread::get_id() == caller;
    }
    std::mutex mutex;
    std::thread::id caller = std::this_thread::get_id();
    std::vector<std::string> entries;
    std::vector<Timeline::Clock::time_point> times;
    bool onCaller = false;
};

TEST(ManualTimeline, WorkRunsOffTheCallersThreadOnlyAsTimePassesItsDueTimeInDueOrder) {
    ManualTimeline timeline;
    const auto start = timeline.now();
    Journal journal;
    timeline.after(3000ms, [&] { journal.note("late", timeline); });
    timeline.after(1000ms, [&] { journal.note("first", timeline); });
    timeline.after(1000ms, [&] { journal.note("second", timeline); });
    EXPECT_EQ(timeline.nextDue(), start + 1000ms);

    timeline.advanceTo(start + 999ms);
    EXPECT_TRUE(journal.entries.empty());
    EXPECT_EQ(timeline.now(), start + 999ms);

    timeline.advanceTo(start + 2000ms);
    EXPECT_EQ(journal.entries, (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(journal.times[0], start + 1000ms) << "time stands at the due time while it runs";
    EXPECT_EQ(timeline.now(), start + 2000ms);
    EXPECT_EQ(timeline.nextDue(), start + 3000ms);
    EXPECT_FALSE(journal.onCaller);

    timeline.advanceTo(start + 1500ms);
    EXPECT_EQ(timeline.now(), start + 2000ms) << "time never goes back";
}

TEST(ManualTimeline, WorkHandedInByWorkRunsInTheSameAdvanceWhenDue) {
    ManualTimeline timeline;
    const auto start = timeline.now();
    Journal journal;
    timeline.after(100ms, [&] {
        journal.note("reply", timeline);
        timeline.after(0ms, [&] { journal.note("at once", timeline); });
        timeline.after(200ms, [&] { journal.note("later", timeline); });
        timeline.after(5000ms, [&] { journal.note("too late", timeline); });
    });

    timeline.advanceTo(start + 1000ms);

    EXPECT_EQ(journal.entries, (std::vector<std::string>{"reply", "at once", "later"}));
    EXPECT_EQ(journal.times[2], start + 300ms);
    EXPECT_EQ(timeline.elapsed(), 1000ms);
    EXPECT_EQ(timeline.nextDue(), start + 5100ms);
}

TEST(RealTimeline, WorkRunsOnTheTimerThreadNoEarlierThanDueAndInDueOrder) {
    RealTimeline timeline;
    Journal journal;
    std::promise<void> done;
    const auto start = timeline.now();
    timeline.after(40ms, [&] {
        journal.note("second", timeline);
        done.set_value();
    });
    timeline.after(20ms, [&] { journal.note("first", timeline); });

    done.get_future().wait();

    std::lock_guard lock(journal.mutex);
    EXPECT_EQ(journal.entries, (std::vector<std::string>{"first", "second"}));
    EXPECT_GE(journal.times[0] - start, 20ms);
    EXPECT_GE(journal.times[1] - start, 40ms);
    EXPECT_FALSE(journal.onCaller);
}

TEST(RealTimeline, WorkNotYetDueIsDroppedWhenTheTimelineGoes) {
    bool ran = false;
    {
        RealTimeline timeline;
        timeline.after(std::chrono::hours(1), [&] { ran = true; });
    }
    EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace tavrel
