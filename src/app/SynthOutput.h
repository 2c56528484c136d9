// The built-in synthesizer as the preview's output: opened with the system's General MIDI
// SoundFont when first chosen and kept open until the program ends, so that choosing it
// again is instant. The sequencer is switched back to MIDI before the synthesizer goes.
#pragma once

#include <QString>

#include <memory>

namespace tavrel {
class CSeqSim;
class DrumSynth;
class LiveSynth;
}  // namespace tavrel

namespace tavrel::app {

class SynthOutput {
public:
    // `sequencer` may be null (no preview at all): the synthesizer can then not be chosen.
    explicit SynthOutput(CSeqSim* sequencer);
    ~SynthOutput();
    SynthOutput(const SynthOutput&) = delete;
    SynthOutput& operator=(const SynthOutput&) = delete;

    // Why the synthesizer cannot be chosen here, or empty when it can.
    QString unavailableReason() const;
    // Sends the preview's notes to the synthesizer; false, with unavailableReason() saying
    // why, when it cannot be opened.
    bool choose();
    // Sends the preview's notes to the MIDI output again.
    void leave();
    bool chosen() const;
    // The audio driver's one line, once the synthesizer is open.
    QString describe() const;
    // The synthesizer once opened, else null.
    const DrumSynth* synth() const;

private:
    CSeqSim* mSeq;
    std::unique_ptr<LiveSynth> mLive;
    QString mOpenError;
};

}  // namespace tavrel::app
