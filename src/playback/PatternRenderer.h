// Renders the preview offline: the sequencer plays the current variation's window of the
// current pattern `loops` times on a sample clock, through the built-in synthesizer, as fast
// as the computer can. Each note starts on the output sample of the millisecond its tick
// falls on; output sample 0 is the window's first tick. After the last window the sound
// that still rings out is kept, up to a few seconds.
//
// Runs on the main thread of a Context that holds the pattern; the sequencer thread it
// starts is gone when render returns.
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

    struct Result {
        bool complete = false;       // false: the sink refused, or there was nothing to play
        std::int64_t frames = 0;     // written, at 48 kHz
        std::int64_t loopTicks = 0;  // ticks one pass of the window lasts
        std::int64_t windowEnd = 0;  // frame at which the last window ends, before the tail
    };

    // `synth` must run at DownSampler::kInRate.
    explicit PatternRenderer(DrumSynth& synth) : mSynth(synth) {}

    Result render(int loops, const Sink& sink);

private:
    DrumSynth& mSynth;
};

}  // namespace tavrel
