#include "device/platform/alsa/StopSignal.h"

#include "model/Log.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace tavrel {

StopSignal::StopSignal() : mFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (mFd < 0) Log::linef("device", "make stop signal: %s", std::strerror(errno));
}

StopSignal::~StopSignal() {
    if (mFd >= 0) close(mFd);
}

void StopSignal::raise() {
    const std::uint64_t one = 1;
    // Only fails when the counter is about to overflow, and then the loop is awake anyway.
    [[maybe_unused]] const ssize_t written = write(mFd, &one, sizeof one);
}

}  // namespace tavrel
