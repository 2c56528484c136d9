#include "device/ThreadWaiter.h"

#include "device/ManualTimeline.h"
#include "device/RealTimeline.h"

#include <algorithm>
#include <utility>

namespace tavrel {

namespace {
// Some awaited state is announced by nobody (a volume appearing on the desktop), so a wait on
// the steady clock looks again this often even without a notify.
constexpr std::chrono::milliseconds kRecheck{100};
}  // namespace

ThreadWaiter::ThreadWaiter(RealTimeline& timeline) : mTimeline(timeline), mManual(nullptr) {}

ThreadWaiter::ThreadWaiter(ManualTimeline& timeline, Settle settle)
    : mTimeline(timeline), mManual(&timeline), mSettle(std::move(settle)) {}

bool ThreadWaiter::waitFor(std::chrono::milliseconds timeout, const Condition& done) {
    const TimePoint deadline = mTimeline.now() + timeout;
    for (;;) {
        if (mSettle) mSettle();
        std::uint64_t generation = 0;
        bool stop = false;
        {
            std::lock_guard lock(mLock);
            generation = mGeneration;
            stop = mCancelled;
        }
        // Asked without the lock held: a notify from now on changes the generation, so none
        // is lost, and `done` may take locks of its own.
        if (done()) return true;
        if (stop || mTimeline.now() >= deadline) return false;
        passTime(deadline, generation);
    }
}

void ThreadWaiter::sleepFor(std::chrono::milliseconds duration) {
    waitFor(duration, [] { return false; });
}

void ThreadWaiter::notify() {
    std::lock_guard lock(mLock);
    ++mGeneration;
    mNotified.notify_all();
}

void ThreadWaiter::cancel() {
    std::lock_guard lock(mLock);
    mCancelled = true;
    ++mGeneration;
    mNotified.notify_all();
}

bool ThreadWaiter::cancelled() const {
    std::lock_guard lock(mLock);
    return mCancelled;
}

void ThreadWaiter::rearm() {
    std::lock_guard lock(mLock);
    mCancelled = false;
}

void ThreadWaiter::passTime(TimePoint deadline, std::uint64_t generation) {
    if (mManual != nullptr) {
        mManual->advanceTo(std::min(deadline, mManual->nextDue().value_or(deadline)));
        return;
    }
    std::unique_lock lock(mLock);
    const TimePoint until = std::min(deadline, std::chrono::steady_clock::now() + kRecheck);
    mNotified.wait_until(lock, until, [&] { return mGeneration != generation; });
}

}  // namespace tavrel
