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

TEST(ThreadWaiterManual, WorkDueAtTheDeadlineStillCountsAndLaterWorkDoesNot) {
    ManualTimeline timeline;
    ThreadWaiter waiter(timeline, {});
    std::atomic<bool> reply{false};
    timeline.after(5000ms, [&] { reply = true; });
    EXPECT_TRUE(waiter.waitFor(5000ms, [&] { return reply.load(); }));

    std::atomic<bool> tooLate{false};
    timeline.after(5001ms, [&] { tooLate = true; });
    EXPECT_FALSE(waiter.waitFor(5000ms, [&] { return tooLate.load(); }));
    EXPECT_EQ(timeline.elapsed(), 10000ms);
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

}  // namespace
}  // namespace tavrel
