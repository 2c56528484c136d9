#include "playback/TickClock.h"

#include <utility>

namespace tavrel {

namespace {
// One quarter note of 96 ticks at tempo 1 lasts 60,000 ms: 625 ms for 1 tick at tempo 1,
// and so 625 ms for `tempo` ticks at any tempo.
constexpr std::uint32_t kCycleMs = 625;
constexpr std::int64_t kStepMicros = 1000;
}  // namespace

TickClock::TickClock(const ClockSource& source, std::function<void()> onTick)
    : mSource(source), mOnTick(std::move(onTick)) {}

void TickClock::tickClockStart() {
    std::lock_guard lock(mLock);
    if (mRunning) return;
    mRunning = true;
    mLastTime = mSource.nowMicros();
}

void TickClock::tickClockStop() {
    std::lock_guard lock(mLock);
    mRunning = false;
}

void TickClock::tickClockPoll() {
    std::lock_guard lock(mLock);
    const std::int64_t now = mSource.nowMicros();
    if (!mRunning) {
        mLastTime = now;
        return;
    }
    // Whole milliseconds only: the remainder stays in now - mLastTime for the next poll.
    while (now - mLastTime >= kStepMicros) {
        mLastTime += kStepMicros;
        stepLocked();
    }
}

void TickClock::tickClockStep() {
    std::lock_guard lock(mLock);
    stepLocked();
}

void TickClock::stepLocked() {
    ++mMilliseconds;
    if (mMilliseconds < mNextThreshold) return;
    ++mTickIndex;
    ++mPending;
    if (mRestart || mTickIndex == mTempo) {
        mMilliseconds = 0;
        mTickIndex = 0;
        mRestart = false;
    }
    // A clock started without a tempo runs as at tempo 1 rather than dividing by zero.
    const std::uint32_t tempo = mTempo == 0 ? 1 : mTempo;
    mNextThreshold = (kCycleMs + mTickIndex * kCycleMs) / tempo;
    if (mOnTick) mOnTick();
}

bool TickClock::tickClockSetTempo(std::uint32_t tempo) {
    std::lock_guard lock(mLock);
    if (tempo != mTempo) {
        mTempo = tempo;
        mRestart = true;
    }
    return mRestart;
}

void TickClock::tickClockReset(bool defaultTempo) {
    std::lock_guard lock(mLock);
    mMilliseconds = 0;
    mTickIndex = 0;
    mPending = 0;
    mNextThreshold = 0;
    mRestart = true;
    if (defaultTempo) mTempo = 120;
}

std::uint32_t TickClock::tickClockTakePending() {
    std::lock_guard lock(mLock);
    return std::exchange(mPending, 0u);
}

bool TickClock::running() const {
    std::lock_guard lock(mLock);
    return mRunning;
}

std::optional<std::int64_t> TickClock::nextStepAt() const {
    std::lock_guard lock(mLock);
    if (!mRunning) return std::nullopt;
    return mLastTime + kStepMicros;
}

std::uint32_t TickClock::tempo() const {
    std::lock_guard lock(mLock);
    return mTempo;
}

}  // namespace tavrel
