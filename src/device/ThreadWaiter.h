// The Waiter of the command-line tool and of tests: the waiting thread blocks.
//
// On the steady clock it sleeps on a condition variable until notified or the deadline, and
// looks again every 100 ms for state that nobody announces (a volume appearing).
// On a manual clock nothing needs to sleep: before each look at the awaited state it lets
// every delivery under way settle (the settle hook: the MIDI service has handed everything
// over and the receive path has decoded it), and when the state does not hold yet it moves
// virtual time straight on to the next delayed reply or to the deadline, whichever comes
// first. Waits on a manual clock are therefore deterministic and take no real time.
//
// One thread waits at a time (the device thread); notify and cancel may come from any thread.
#pragma once

#include "device/Waiter.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace tavrel {

class ManualTimeline;
class RealTimeline;
class Timeline;

class ThreadWaiter : public Waiter {
public:
    using Settle = std::function<void()>;

    explicit ThreadWaiter(RealTimeline& timeline);
    // `settle` must return only once everything that can change the awaited state without
    // time passing has done so; empty when nothing is delivered on other threads.
    ThreadWaiter(ManualTimeline& timeline, Settle settle);
    ThreadWaiter(const ThreadWaiter&) = delete;
    ThreadWaiter& operator=(const ThreadWaiter&) = delete;

    bool waitFor(std::chrono::milliseconds timeout, const Condition& done) override;
    void sleepFor(std::chrono::milliseconds duration) override;
    void notify() override;
    void cancel() override;
    bool cancelled() const override;
    void rearm() override;

private:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Lets time pass towards `deadline`: on the steady clock until notified after
    // `generation`, the next recheck or the deadline; on a manual clock up to the next due
    // work or the deadline.
    void passTime(TimePoint deadline, std::uint64_t generation);

    Timeline& mTimeline;
    ManualTimeline* const mManual;  // null on the steady clock
    const Settle mSettle;
    // Whoever notifies or cancels touches this object last inside the lock, so a waiter that
    // saw the change may go at once.
    mutable std::mutex mLock;
    std::condition_variable mNotified;
    std::uint64_t mGeneration = 0;  // counts notify and cancel calls
    bool mCancelled = false;
};

}  // namespace tavrel
