// The built-in synthesizer as a live preview output: the drum voice together with the audio
// driver that plays it. Make one, give synth() to CSeqSim::previewOutput().useOutput(), and
// keep it until the sequencer has been switched back with useMidi() or destroyed.
#pragma once

#include "playback/DrumSynth.h"
#include "playback/SynthAudioDriver.h"

#include <memory>

namespace tavrel {

class LiveSynth {
public:
    // The name the output goes by beside the MIDI destinations.
    static constexpr const char* kOutputName = "Built-in synthesizer";
    static constexpr double kSampleRate = 48000.0;

    // `synth` runs at kSampleRate.
    explicit LiveSynth(std::unique_ptr<DrumSynth> synth)
        : mSynth(std::move(synth)), mDriver(*mSynth) {}

    DrumSynth& synth() { return *mSynth; }
    const SynthAudioDriver& driver() const { return mDriver; }

private:
    std::unique_ptr<DrumSynth> mSynth;
    SynthAudioDriver mDriver;  // after the synthesizer: it stops before the synthesizer goes
};

}  // namespace tavrel
