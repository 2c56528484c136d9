#include "device/RealTimeline.h"

#include <utility>

namespace tavrel {

RealTimeline::RealTimeline() : mTimer([this] { run(); }) {}

RealTimeline::~RealTimeline() {
    {
        std::lock_guard lock(mLock);
        mStop = true;
    }
    mChanged.notify_all();
    mTimer.join();
}

void RealTimeline::after(std::chrono::milliseconds delay, std::function<void()> fn) {
    {
        std::lock_guard lock(mLock);
        mDue.emplace(Clock::now() + delay, std::move(fn));
    }
    mChanged.notify_all();
}

void RealTimeline::run() {
    std::unique_lock lock(mLock);
    while (!mStop) {
        if (mDue.empty()) {
            mChanged.wait(lock);
            continue;
        }
        const auto first = mDue.begin();
        if (first->first > Clock::now()) {
            mChanged.wait_until(lock, first->first);
            continue;
        }
        std::function<void()> fn = std::move(first->second);
        mDue.erase(first);
        // Unlocked, so that the work may hand in more work.
        lock.unlock();
        fn();
        lock.lock();
    }
}

}  // namespace tavrel
