// Time as the device link and the simulated unit see it: the steady clock in the program, a
// manual clock in tests, so that a 25 s time-out costs no real time.
#pragma once

#include <chrono>
#include <functional>

namespace tavrel {

class Timeline {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~Timeline() = default;
    virtual Clock::time_point now() const = 0;
    // Runs `fn` once `delay` has passed on this timeline, on a thread of the timeline's own
    // (never inside this call). Used for replies that the simulated unit sends late.
    virtual void after(std::chrono::milliseconds delay, std::function<void()> fn) = 0;
};

}  // namespace tavrel
