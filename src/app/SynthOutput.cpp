#include "app/SynthOutput.h"

#include "playback/CSeqSim.h"
#include "playback/DrumSynth.h"
#include "playback/LiveSynth.h"

namespace tavrel::app {

SynthOutput::SynthOutput(CSeqSim* sequencer) : mSeq(sequencer) {}

SynthOutput::~SynthOutput() {
    if (mLive != nullptr && mSeq != nullptr) {
        mSeq->stop();
        mSeq->previewOutput().useMidi();
    }
}

QString SynthOutput::unavailableReason() const {
    if (mSeq == nullptr) return "there is no preview sequencer";
    if (!mOpenError.isEmpty()) return mOpenError;
    if (mLive == nullptr && !DrumSynth::defaultSoundFont()) {
        return "no General MIDI SoundFont is installed (/usr/share/sounds/sf2/default-GM.sf2)";
    }
    return {};
}

bool SynthOutput::choose() {
    if (mSeq == nullptr) return false;
    if (mLive == nullptr) {
        const auto soundFont = DrumSynth::defaultSoundFont();
        if (!soundFont) return false;
        std::string error;
        auto synth = DrumSynth::open(*soundFont, LiveSynth::kSampleRate, error);
        if (synth == nullptr) {
            mOpenError = QString::fromStdString(error);
            return false;
        }
        mLive = std::make_unique<LiveSynth>(std::move(synth));
    }
    mSeq->previewOutput().useOutput(mLive->synth());
    return true;
}

void SynthOutput::leave() {
    if (mSeq != nullptr) mSeq->previewOutput().useMidi();
}

bool SynthOutput::chosen() const {
    return mSeq != nullptr && mLive != nullptr && !mSeq->previewOutput().usesMidi();
}

QString SynthOutput::describe() const {
    return mLive != nullptr ? QString::fromStdString(mLive->driver().describe()) : QString();
}

const DrumSynth* SynthOutput::synth() const {
    return mLive != nullptr ? &mLive->synth() : nullptr;
}

}  // namespace tavrel::app
