// Turns the synthesizer's 64 kHz stereo into 48 kHz stereo: a windowed-sinc low-pass in three
// phases, since three output samples span exactly four input samples. The synthesizer starts
// notes only at the 64-sample blocks it renders in; at 64 kHz a block is one millisecond, the
// tick clock's step, so every note starts on its step and, after this, on the very output
// sample of that millisecond. The filter is symmetric: an input sample at 4n maps onto output
// sample 3n with no delay.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace tavrel {

class DownSampler {
public:
    static constexpr int kInRate = 64000;
    static constexpr int kOutRate = 48000;

    DownSampler();

    // Adds `frames` interleaved stereo frames and appends what can be computed to `out`.
    void push(const float* in, int frames, std::vector<float>& out);
    // The input is complete: appends the remaining output, so that in total
    // floor(input frames * 3 / 4) frames came out.
    void finish(std::vector<float>& out);

private:
    static constexpr int kHalfWidth = 24;  // input samples each side of the centre
    static constexpr int kTaps = 2 * kHalfWidth;
    static constexpr int kPhases = 3;

    void produce(std::int64_t limit, std::vector<float>& out);

    std::array<std::array<float, kTaps>, kPhases> mKernel{};
    std::vector<float> mIn;       // interleaved frames from mInBase on
    std::int64_t mInBase;         // the input frame mIn starts with
    std::int64_t mInFrames = 0;   // input frames pushed in all
    std::int64_t mOutFrames = 0;  // output frames produced
};

}  // namespace tavrel
