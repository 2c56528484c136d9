#include "playback/MonotonicClockSource.h"

#include <ctime>

namespace tavrel {

std::int64_t MonotonicClockSource::nowMicros() const {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return std::int64_t{ts.tv_sec} * 1'000'000 + ts.tv_nsec / 1000;
}

}  // namespace tavrel
