#include "playback/DownSampler.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavrel {

namespace {

constexpr double kCutoffHz = 19000.0;

double sinc(double x) {
    if (x == 0.0) return 1.0;
    return std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

double blackman(double t, double halfWidth) {
    const double u = std::numbers::pi * t / halfWidth;
    return 0.42 + 0.5 * std::cos(u) + 0.08 * std::cos(2 * u);
}

}  // namespace

// Silence before the start, for the taps of the first frames to reach into.
DownSampler::DownSampler() : mIn(std::size_t{2} * kHalfWidth, 0.0F), mInBase(-kHalfWidth) {
    const double a = 2.0 * kCutoffHz / kInRate;
    for (int p = 0; p < kPhases; ++p) {
        // Output 3q + p lies at input 4q + 4p/3: a whole part and a fraction of p/3.
        const double frac = std::fmod(4.0 * p / 3.0, 1.0);
        double sum = 0.0;
        for (int j = 0; j < kTaps; ++j) {
            const double t = frac - (j - kHalfWidth + 1);
            const double h = a * sinc(a * t) * blackman(t, kHalfWidth);
            mKernel[p][j] = static_cast<float>(h);
            sum += h;
        }
        // Unity gain at DC in every phase, so a steady level does not ripple.
        for (float& h : mKernel[p]) h = static_cast<float>(h / sum);
    }
}

// Computes every output frame whose taps end before input frame `limit`.
void DownSampler::produce(std::int64_t limit, std::vector<float>& out) {
    for (;;) {
        const std::int64_t q = mOutFrames / kPhases;
        const int p = static_cast<int>(mOutFrames % kPhases);
        const std::int64_t centre = 4 * q + (4 * p) / 3;
        const std::int64_t first = centre - kHalfWidth + 1;
        if (first + kTaps > limit) break;
        if (4 * mOutFrames >= 3 * mInFrames) break;  // past the end of the input
        const auto& kernel = mKernel[static_cast<std::size_t>(p)];
        const float* in = mIn.data() + (first - mInBase) * 2;
        float left = 0.0F;
        float right = 0.0F;
        for (std::ptrdiff_t j = 0; j < kTaps; ++j) {
            left += kernel[j] * in[2 * j];
            right += kernel[j] * in[2 * j + 1];
        }
        out.push_back(left);
        out.push_back(right);
        ++mOutFrames;
    }
    // Keep only what the next output frame's taps reach back to.
    const std::int64_t keepFrom = 4 * (mOutFrames / kPhases) - kHalfWidth;
    if (keepFrom > mInBase) {
        const auto held = static_cast<std::int64_t>(mIn.size() / 2);
        const std::int64_t drop = std::min(keepFrom - mInBase, held);
        mIn.erase(mIn.begin(), mIn.begin() + static_cast<std::ptrdiff_t>(drop * 2));
        mInBase += drop;
    }
}

void DownSampler::push(const float* in, int frames, std::vector<float>& out) {
    mIn.insert(mIn.end(), in, in + static_cast<std::ptrdiff_t>(frames) * 2);
    mInFrames += frames;
    produce(mInFrames, out);
}

void DownSampler::finish(std::vector<float>& out) {
    // Silence after the end, for the taps of the last frames to reach into.
    mIn.resize(mIn.size() + std::size_t{2} * kTaps, 0.0F);
    produce(mInFrames + kTaps, out);
}

}  // namespace tavrel
