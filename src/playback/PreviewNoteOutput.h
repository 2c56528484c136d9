// Where the preview's drum notes can go besides the MIDI output: anything that plays a note
// on the drum channel, selects a kit and ends what it started.
//
// Threads: noteOn runs on the sequencer thread, programChange on either the sequencer or the
// main thread, allOff on the main thread when the preview stops; implementations lock or
// are thread-safe themselves.
#pragma once

#include <cstdint>

namespace tavrel {

class PreviewNoteOutput {
public:
    virtual ~PreviewNoteOutput() = default;
    virtual void noteOn(std::int32_t note, std::int32_t velo) = 0;
    // `program` is the pattern's kit number.
    virtual void programChange(std::int32_t program) = 0;
    virtual void allOff() = 0;
};

}  // namespace tavrel
