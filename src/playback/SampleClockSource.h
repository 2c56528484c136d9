// A wall clock that is a count of audio samples: the offline renderer moves it on by the
// samples it renders, so the tick clock steps on the very sample each millisecond begins.
#pragma once

#include "playback/ClockSource.h"

#include <atomic>
#include <cstdint>

namespace tavrel {

class SampleClockSource : public ClockSource {
public:
    explicit SampleClockSource(std::int64_t sampleRate) : mRate(sampleRate) {}
    std::int64_t nowMicros() const override { return mSamples.load() * 1'000'000 / mRate; }
    void advance(std::int64_t samples) { mSamples += samples; }
    std::int64_t samples() const { return mSamples.load(); }

private:
    const std::int64_t mRate;
    std::atomic<std::int64_t> mSamples{0};
};

}  // namespace tavrel
