// CLOCK_MONOTONIC, the clock the clock thread sleeps on: it does not jump when the time of
// day is set, and it is the clock std::chrono::steady_clock reads on Linux.
#pragma once

#include "playback/ClockSource.h"

namespace tavrel {

class MonotonicClockSource : public ClockSource {
public:
    std::int64_t nowMicros() const override;
};

}  // namespace tavrel
