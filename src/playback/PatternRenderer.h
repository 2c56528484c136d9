// Renders the preview offline: the sequencer plays the current variation's window of the
// current pattern `loops` times on a sample clock, through the built-in synthesizer, as fast
// as the computer can. Each note starts on the output sample of the millisecond its tick
// falls on; output sample 0 is the window's first tick. After the last window the sound
// that still rings out is kept, up to a few seconds.
//
// Runs on the main thread of a Context that holds the pattern, and plays the sequencer's
// ticks itself: the render has no thread but the caller's.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace tavrel {

class DrumSynth;

class PatternRenderer {
public:
    // Takes 48 kHz interleaved stereo frames; false stops the render.
    using Sink = std::function<bool(const std::vector<float>& frames)>;

    // Called with 1..100 as the percentage of the windows rendered rises.
    using Progress = std::function<void(int percent)>;

    // The longest sound a render makes: three hours, a 2 GB file.
    static constexpr std::int64_t kMaxSeconds = std::int64_t{3} * 3600;

    struct Result {
        bool complete = false;       // false: the sink refused, nothing to play, or too long
        bool tooLong = false;        // the passes would last longer than kMaxSeconds
        std::int64_t frames = 0;     // written, at 48 kHz
        std::int64_t loopTicks = 0;  // ticks one pass of the window lasts
        std::int64_t windowEnd = 0;  // frame at which the last window ends, before the tail
    };

    // `synth` must run at DownSampler::kInRate.
    explicit PatternRenderer(DrumSynth& synth) : mSynth(synth) {}

    Result render(int loops, const Sink& sink, const Progress& progress = {});

private:
    DrumSynth& mSynth;
};

}  // namespace tavrel
