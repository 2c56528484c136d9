#include "device/DrainThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace tavrel {
namespace {

TEST(DrainThread, RunsNeverOverlapAndNoWakeIsLost) {
    std::atomic<int> produced{0};
    std::atomic<int> seen{0};
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
    DrainThread drain([&] {
        if (running.fetch_add(1) != 0) overlapped = true;
        seen = produced.load();
        // A slow run, so that most wakes arrive while one is under way.
        std::this_thread::sleep_for(std::chrono::microseconds(100));
        running.fetch_sub(1);
    });

    std::thread producer([&] {
        for (int i = 1; i <= 2000; ++i) {
            produced = i;
            drain.wake();
        }
    });
    producer.join();
    // The last wake must be followed by a run that sees the last value.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (seen.load() != 2000 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_EQ(seen.load(), 2000);
    EXPECT_FALSE(overlapped.load());
}

}  // namespace
}  // namespace tavrel
