#include "device/ManualTimeline.h"
#include "device/RealTimeline.h"
#include "device/ThreadWaiter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace tavrel {
namespace {

using namespace std::chrono_literals;

TEST(ThreadWaiterManual, AWaitEndsWhenTheStateHoldsOrExactlyAtTheDeadline) {
    ManualTimeline timeline;
    ThreadWaiter waiter(timeline, {});
    std::atomic<bool> reply{false};
    EXPECT_TRUE(waiter.waitFor(5000ms, [] { return true; }));
    EXPECT_EQ(timeline.elapsed(), 0ms) << "state that holds costs no time";

    // A reply 1.3 s late is seen at 1.3 s, not at the next whole second.
    timeline.after(1300ms, [&] { reply = true; });
    EXPECT_TRUE(waiter.waitFor(5000ms, [&] { return reply.load(); }));
    EXPECT_EQ(timeline.elapsed(), 1300ms);

    // Work due after the deadline neither runs nor stretches the wait.
    std::atomic<bool> tooLate{false};
    timeline.after(5001ms, [&] { tooLate = true; });
    EXPECT_FALSE(waiter.waitFor(5000ms, [&] { return tooLate.load(); }));
    EXPECT_EQ(timeline.elapsed(), 6300ms);

    waiter.sleepFor(1000ms);
    EXPECT_EQ(timeline.elapsed(), 7300ms);
    EXPECT_TRUE(tooLate.load()) << "its due time has passed now";
}

TEST(ThreadWaiterManual, WorkDueAtTheDeadlineStillCounts) {
    ManualTimeline timeline;
    ThreadWaiter waiter(timeline, {});
    std::atomic<bool> reply{false};
    timeline.after(5000ms, [&] { reply = true; });
    EXPECT_TRUE(waiter.waitFor(5000ms, [&] { return reply.load(); }));
}

TEST(ThreadWaiterManual, DeliveriesSettleBeforeTheStateIsLookedAtAndTimeMovesOn) {
    ManualTimeline timeline;
    // Stands in for a delivery thread: the reply lands some real time after the unit sent it,
    // and only the settle hook knows when.
    std::atomic<bool> sent{false};
    std::atomic<bool> landed{false};
    std::thread delivery;
    ThreadWaiter waiter(timeline, [&] {
        if (delivery.joinable()) delivery.join();
    });
    timeline.after(200ms, [&] {
        sent = true;
        delivery = std::thread([&] {
            std::this_thread::sleep_for(20ms);
            landed = true;
        });
    });

    EXPECT_TRUE(waiter.waitFor(1000ms, [&] { return landed.load(); }));
    EXPECT_EQ(timeline.elapsed(), 200ms);
}

TEST(ThreadWaiterReal, ANotifyEndsTheWaitAndUnannouncedStateIsStillSeen) {
    RealTimeline timeline;
    ThreadWaiter waiter(timeline);
    std::atomic<bool> announced{false};
    std::thread replier([&] {
        std::this_thread::sleep_for(20ms);
        announced = true;
        waiter.notify();
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(waiter.waitFor(60s, [&] { return announced.load(); }));
    replier.join();

    // Nobody notifies: the waiter looks again by itself.
    std::atomic<bool> unannounced{false};
    std::thread volume([&] {
        std::this_thread::sleep_for(20ms);
        unannounced = true;
    });
    EXPECT_TRUE(waiter.waitFor(60s, [&] { return unannounced.load(); }));
    volume.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 30s);
}

TEST(ThreadWaiterReal, AWaitGivesUpNoEarlierThanItsDeadline) {
    RealTimeline timeline;
    ThreadWaiter waiter(timeline);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(waiter.waitFor(150ms, [] { return false; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 150ms);
}

}  // namespace
}  // namespace tavrel
