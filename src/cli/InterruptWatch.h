// Keeps Ctrl-C (SIGINT) and SIGTERM from ending a unit command half-way, which would leave the
// unit held in editor mode. Made before any thread of the command, it blocks both signals in
// every thread and takes them on a thread of its own: the first one is acknowledged on stderr,
// noted, and handed to the hook set with onFirst (which cancels the step under way, so the
// command need not sit out a silent unit's time-out); the command then lets the unit go before
// it ends. A second one ends the process at once, for a user who cannot wait.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
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
    // Runs `hook` on the watching thread at the first signal, or at once when it came already.
    // An empty hook clears it; once this returns, the hook set before will not run again.
    void onFirst(std::function<void()> hook);

private:
    void watch();

    sigset_t mSignals{};
    sigset_t mPrevious{};
    int mSignalFd = -1;
    int mStopFd = -1;  // written when the command is over
    std::atomic<bool> mInterrupted{false};
    std::mutex mHookLock;  // held while the hook runs, so clearing it waits for its end
    std::function<void()> mHook;
    std::thread mWatcher;
};

}  // namespace tavrel::cli
