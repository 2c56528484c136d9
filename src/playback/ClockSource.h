// The wall clock that the tick clock catches up with, in microseconds from an arbitrary
// start. The program reads the monotonic clock; tests move a manual one, so that a minute of
// playing takes no real time and every tick falls on the same millisecond each run.
#pragma once

#include <cstdint>

namespace tavrel {

class ClockSource {
public:
    virtual ~ClockSource() = default;
    // Safe from any thread; never goes back.
    virtual std::int64_t nowMicros() const = 0;
};

}  // namespace tavrel
