// Waiting for Ctrl-C (SIGINT) or SIGTERM without a signal handler. Made before any thread of
// the command, it blocks both signals in the calling thread, and every thread started later
// inherits that; the wait then takes the signal synchronously with sigtimedwait, so there is
// no flag to share with a handler, and the command stops as cleanly as when its time is up.
// The mask the thread had is restored when this goes.
#pragma once

#include <chrono>
#include <optional>

#include <signal.h>

namespace tavrel::cli {

class InterruptWait {
public:
    InterruptWait();
    ~InterruptWait();
    InterruptWait(const InterruptWait&) = delete;
    InterruptWait& operator=(const InterruptWait&) = delete;

    // Returns true when interrupted, false when `limit` passed first; waits without end
    // when there is no limit.
    bool wait(std::optional<std::chrono::seconds> limit);
    // Whether a signal has come, without waiting; one that has is taken.
    bool arrived();

private:
    sigset_t mSignals{};
    sigset_t mPrevious{};
};

}  // namespace tavrel::cli
