// How the device link waits for the unit. Every wait of the protocol ("up to 5 s, checking
// once a second") goes through here: it ends as soon as the awaited state holds and gives up
// at the same deadline as the once-a-second poll would, so a responsive unit costs no idle
// seconds and a silent one fails exactly as late as before.
//
// Waits happen on the device thread (LinkRunner), which blocks in them (ThreadWaiter); the
// thread that started the step stays free. A cancel ends the wait under way at once and every
// later one of the same step before it starts, until the next step re-arms the waiter.
#pragma once

#include <chrono>
#include <functional>

namespace tavrel {

class Waiter {
public:
    using Condition = std::function<bool()>;

    virtual ~Waiter() = default;

    // True as soon as `done` holds; false once `timeout` has passed without it holding, or
    // at once when cancelled. `done` runs on the waiting thread, at once and again after every
    // notify; it is also asked once more at the deadline, so state that arrived just before
    // it counts.
    virtual bool waitFor(std::chrono::milliseconds timeout, const Condition& done) = 0;
    // Lets `duration` pass, or less when cancelled.
    virtual void sleepFor(std::chrono::milliseconds duration) = 0;
    // From any thread: state a wait may be waiting for has changed. The receive path calls
    // it after every reply it has stored.
    virtual void notify() = 0;

    // From any thread: the wait under way, and every one after it, ends at once.
    virtual void cancel() = 0;
    virtual bool cancelled() const = 0;
    // Waits wait again; called before each step.
    virtual void rearm() = 0;
};

}  // namespace tavrel
