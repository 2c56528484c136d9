#include "cli/InterruptWatch.h"

#include "cli/Command.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace tavrel::cli {

namespace {

void say(std::string_view text) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

InterruptWatch::InterruptWatch() {
    sigemptyset(&mSignals);
    sigaddset(&mSignals, SIGINT);
    sigaddset(&mSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &mSignals, &mPrevious);
    mSignalFd = signalfd(-1, &mSignals, SFD_CLOEXEC);
    mStopFd = eventfd(0, EFD_CLOEXEC);
    if (mSignalFd >= 0 && mStopFd >= 0) mWatcher = std::thread([this] { watch(); });
}

InterruptWatch::~InterruptWatch() {
    if (mWatcher.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(mStopFd, &one, sizeof one);
        mWatcher.join();
    }
    if (mSignalFd >= 0) ::close(mSignalFd);
    if (mStopFd >= 0) ::close(mStopFd);
    pthread_sigmask(SIG_SETMASK, &mPrevious, nullptr);
}

void InterruptWatch::onFirst(std::function<void()> hook) {
    const std::lock_guard lock(mHookLock);
    mHook = std::move(hook);
    if (mHook && mInterrupted.load()) mHook();
}

void InterruptWatch::watch() {
    pollfd fds[2] = {{mSignalFd, POLLIN, 0}, {mStopFd, POLLIN, 0}};
    for (;;) {
        if (::poll(fds, 2, -1) < 0) continue;  // EINTR
        if (fds[1].revents != 0) return;
        signalfd_siginfo info{};
        if (::read(mSignalFd, &info, sizeof info) != sizeof info) continue;
        if (mInterrupted.exchange(true)) {
            say("tavrel-cli: stopped before the unit was let go\n");
            std::_Exit(kExitInterrupted);
        }
        say("tavrel-cli: stopping once the unit is let go (again to stop at once)\n");
        const std::lock_guard lock(mHookLock);
        if (mHook) mHook();
    }
}

}  // namespace tavrel::cli
