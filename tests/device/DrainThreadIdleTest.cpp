#include "device/DrainThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace tavrel {
namespace {

TEST(DrainThreadIdle, WaitIdleReturnsOnlyAfterTheRunsWokenForHaveFinished) {
    std::atomic<int> runs{0};
    DrainThread drain([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        runs.fetch_add(1);
    });
    drain.waitIdle();  // nothing woken yet: returns at once
    EXPECT_EQ(runs.load(), 0);
    for (int i = 1; i <= 20; ++i) {
        drain.wake();
        drain.waitIdle();
        EXPECT_EQ(runs.load(), i);
    }
}

}  // namespace
}  // namespace tavrel
