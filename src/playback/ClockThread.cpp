#include "playback/ClockThread.h"

#include "model/Log.h"
#include "playback/RealTimePriority.h"
#include "playback/TickClock.h"

#include <cerrno>
#include <ctime>

namespace tavrel {

namespace {

constexpr std::int64_t kStepMicros = 1000;

std::int64_t monotonicMicros() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return std::int64_t{ts.tv_sec} * 1'000'000 + ts.tv_nsec / 1000;
}

void sleepUntil(std::int64_t micros) {
    timespec deadline{};
    deadline.tv_sec = static_cast<time_t>(micros / 1'000'000);
    deadline.tv_nsec = static_cast<long>(micros % 1'000'000) * 1000;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
    }
}

// Said once per process: a test suite or a benchmark makes many sequencers, and one line is
// enough to know that the preview runs at normal priority.
std::atomic<bool> gRefusalSaid{false};

}  // namespace

ClockThread::ClockThread(TickClock& clock) : mClock(clock), mThread([this] { run(); }) {
    mScheduled.wait(false);
}

ClockThread::~ClockThread() {
    mStop.store(true);
    mThread.join();
}

void ClockThread::schedule() {
    const RealTimeOutcome outcome = requestRealTime(kPriority);
    mRealTime.store(outcome.granted);
    if (outcome.granted) {
        Log::linef("playback", "avoiding shake of the time axis of the sequence. SCHED_FIFO %d",
                   outcome.priority);
    } else if (!gRefusalSaid.exchange(true)) {
        Log::linef("playback",
                   "avoiding shake of the time axis of the sequence. SCHED_FIFO refused (%s); "
                   "the preview clock runs at normal priority",
                   outcome.reason.c_str());
    }
    mScheduled.store(true);
    mScheduled.notify_all();
}

void ClockThread::run() {
    schedule();
    std::int64_t deadline = monotonicMicros();
    while (!mStop.load()) {
        // While the clock runs, wake on its own millisecond steps; while it idles, on a
        // grid of our own, so that a start is seen within a millisecond.
        const std::optional<std::int64_t> step = mClock.nextStepAt();
        deadline = step ? *step : deadline + kStepMicros;
        // After a stall (a debugger, a long page fault) the idle grid moves on to the
        // present rather than spinning through the missed deadlines.
        const std::int64_t now = monotonicMicros();
        if (!step && deadline < now - kStepMicros) deadline = now;
        sleepUntil(deadline);
        mClock.tickClockPoll();
    }
}

}  // namespace tavrel
