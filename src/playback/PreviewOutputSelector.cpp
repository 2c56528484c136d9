#include "playback/PreviewOutputSelector.h"

#include "playback/CMidiOutMgr.h"

namespace tavrel {

void PreviewOutputSelector::useOutput(PreviewNoteOutput& output) {
    if (mOther.load() == &output) return;
    // A note left sounding on the output no longer chosen would never be ended.
    allOff();
    mOther.store(&output);
}

void PreviewOutputSelector::useMidi() {
    if (usesMidi()) return;
    allOff();
    mOther.store(nullptr);
}

void PreviewOutputSelector::noteOn(std::int32_t note, std::int32_t velo) {
    if (PreviewNoteOutput* other = mOther.load()) {
        other->noteOn(note, velo);
    } else {
        mMidi.noteOn(note, velo);
    }
}

void PreviewOutputSelector::programChange(std::int32_t program) {
    if (PreviewNoteOutput* other = mOther.load()) {
        other->programChange(program);
    } else {
        mMidi.programChange(program);
    }
}

void PreviewOutputSelector::allOff() {
    if (PreviewNoteOutput* other = mOther.load()) {
        other->allOff();
    } else {
        mMidi.allOff();
    }
}

}  // namespace tavrel
