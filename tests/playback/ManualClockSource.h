// A wall clock that only moves when the test moves it.
#pragma once

#include "playback/ClockSource.h"

#include <atomic>
#include <cstdint>

namespace tavrel::test {

class ManualClockSource : public ClockSource {
public:
    std::int64_t nowMicros() const override { return mNow.load(); }
    void advance(std::int64_t micros) { mNow += micros; }

private:
    std::atomic<std::int64_t> mNow{5'000'000};  // not 0: a zero start would hide a missed read
};

}  // namespace tavrel::test
