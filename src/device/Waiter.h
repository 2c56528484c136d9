// How the device link waits for the unit. Every wait of the protocol ("up to 5 s, checking
// once a second") goes through here: it ends as soon as the awaited state holds and gives up
// at the same deadline as the once-a-second poll would, so a responsive unit costs no idle
// seconds and a silent one fails exactly as late as before.
//
// The command-line tool and tests block the waiting thread (ThreadWaiter); the desktop gives
// its own, which keeps the event loop running meanwhile so that the window still repaints.
#pragma once

#include <chrono>
#include <functional>

namespace tavrel {

class Waiter {
public:
    using Condition = std::function<bool()>;

    virtual ~Waiter() = default;

    // True as soon as `done` holds; false once `timeout` has passed without it holding.
    // `done` runs on the waiting thread, at once and again after every notify; it is also
    // asked once more at the deadline, so state that arrived just before it counts.
    virtual bool waitFor(std::chrono::milliseconds timeout, const Condition& done) = 0;
    // Lets `duration` pass.
    virtual void sleepFor(std::chrono::milliseconds duration) = 0;
    // From any thread: state a wait may be waiting for has changed. The receive path calls
    // it after every reply it has stored.
    virtual void notify() = 0;
};

}  // namespace tavrel
