#include "cli/InterruptWait.h"

#include <pthread.h>

#include <cerrno>
#include <ctime>

namespace tavrel::cli {

InterruptWait::InterruptWait() {
    sigemptyset(&mSignals);
    sigaddset(&mSignals, SIGINT);
    sigaddset(&mSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &mSignals, &mPrevious);
}

InterruptWait::~InterruptWait() {
    pthread_sigmask(SIG_SETMASK, &mPrevious, nullptr);
}

bool InterruptWait::wait(std::optional<std::chrono::seconds> limit) {
    if (!limit) {
        for (;;) {
            if (sigwaitinfo(&mSignals, nullptr) > 0) return true;
        }
    }
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += static_cast<time_t>(limit->count());
    for (;;) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        timespec left{end.tv_sec - now.tv_sec, end.tv_nsec - now.tv_nsec};
        if (left.tv_nsec < 0) {
            left.tv_nsec += 1'000'000'000;
            --left.tv_sec;
        }
        if (left.tv_sec < 0) return false;
        // Woken early by another signal (EINTR): wait out the rest.
        if (sigtimedwait(&mSignals, nullptr, &left) > 0) return true;
        if (errno == EAGAIN) return false;
    }
}

bool InterruptWait::arrived() {
    sigset_t pending;
    sigemptyset(&pending);
    if (sigpending(&pending) != 0) return false;
    if (sigismember(&pending, SIGINT) != 1 && sigismember(&pending, SIGTERM) != 1) return false;
    return sigwaitinfo(&mSignals, nullptr) > 0;
}

}  // namespace tavrel::cli
