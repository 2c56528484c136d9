#include "device/ManualTimeline.h"

#include <utility>

namespace tavrel {

ManualTimeline::ManualTimeline() : mWorker([this] { work(); }) {}

ManualTimeline::~ManualTimeline() {
    {
        std::lock_guard lock(mLock);
        mStop = true;
    }
    mChanged.notify_all();
    mWorker.join();
}

Timeline::Clock::time_point ManualTimeline::now() const {
    std::lock_guard lock(mLock);
    return mNow;
}

void ManualTimeline::after(std::chrono::milliseconds delay, std::function<void()> fn) {
    std::lock_guard lock(mLock);
    mDue.emplace(mNow + delay, std::move(fn));
}

std::optional<Timeline::Clock::time_point> ManualTimeline::nextDue() const {
    std::lock_guard lock(mLock);
    if (mDue.empty()) return std::nullopt;
    return mDue.begin()->first;
}

void ManualTimeline::advanceTo(Clock::time_point until) {
    std::unique_lock lock(mLock);
    while (!mDue.empty() && mDue.begin()->first <= until) {
        const auto first = mDue.begin();
        if (first->first > mNow) mNow = first->first;
        std::function<void()> fn = std::move(first->second);
        mDue.erase(first);
        runOnWorker(std::move(fn), lock);
    }
    if (until > mNow) mNow = until;
}

void ManualTimeline::runOnWorker(std::function<void()> fn, std::unique_lock<std::mutex>& lock) {
    mHandedOver = std::move(fn);
    mWorkerBusy = true;
    mChanged.notify_all();
    mChanged.wait(lock, [this] { return !mWorkerBusy; });
}

void ManualTimeline::work() {
    std::unique_lock lock(mLock);
    for (;;) {
        mChanged.wait(lock, [this] { return mStop || mWorkerBusy; });
        if (!mWorkerBusy) return;
        std::function<void()> fn = std::exchange(mHandedOver, nullptr);
        // Unlocked, so that the work may read the time and hand in more work.
        lock.unlock();
        fn();
        lock.lock();
        mWorkerBusy = false;
        mChanged.notify_all();
    }
}

}  // namespace tavrel
