// Keeps Ctrl-C (SIGINT) and SIGTERM from ending a unit command half-way, which would leave the
// unit held in editor mode. Made before any thread of the command, it blocks both signals in
// every thread and takes them on a thread of its own: the first one is acknowledged on stderr
// and noted, and the command goes on to let the unit go before it ends; a second one ends the
// process at once, for a user who cannot wait.
#pragma once

#include <atomic>
#include <thread>

#include <signal.h>

namespace tavrel::cli {

class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    bool interrupted() const { return mInterrupted.load(); }

private:
    void watch();

    sigset_t mSignals{};
    sigset_t mPrevious{};
    int mSignalFd = -1;
    int mStopFd = -1;  // written when the command is over
    std::atomic<bool> mInterrupted{false};
    std::thread mWatcher;
};

}  // namespace tavrel::cli
