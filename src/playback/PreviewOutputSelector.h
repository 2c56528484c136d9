// Chooses where the preview sequencer's notes go: the MIDI output (CMidiOutMgr) or another
// note output such as the built-in synthesizer. The MIDI output is the default and behaves
// exactly as it does alone.
//
// Threads: the choice is made on the main thread and read by the sequencer thread for each
// note, so it is one atomic pointer. Switching ends the notes of the output left behind.
#pragma once

#include "playback/PreviewNoteOutput.h"

#include <atomic>
#include <cstdint>

namespace tavrel {

class CMidiOutMgr;

class PreviewOutputSelector {
public:
    explicit PreviewOutputSelector(CMidiOutMgr& midi) : mMidi(midi) {}
    PreviewOutputSelector(const PreviewOutputSelector&) = delete;
    PreviewOutputSelector& operator=(const PreviewOutputSelector&) = delete;

    // From now on the notes go to `output`, which must outlive this choice.
    void useOutput(PreviewNoteOutput& output);
    // Back to the MIDI output.
    void useMidi();
    bool usesMidi() const { return mOther.load() == nullptr; }

    void noteOn(std::int32_t note, std::int32_t velo);
    void programChange(std::int32_t program);
    void allOff();

private:
    CMidiOutMgr& mMidi;
    std::atomic<PreviewNoteOutput*> mOther{nullptr};
};

}  // namespace tavrel
