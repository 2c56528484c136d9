// The notes a preview of a MIDI file plays, in order, each with the tick (counted from the
// start of playing, from 0) that plays it. The program's own sequencer works them out on a
// manual clock, so the order of notes and the loop are the program's; only the time they
// reach a destination is left for the real run to show.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace tavrel::test {

class PreviewSchedule {
public:
    struct Note {
        std::int64_t tick;
        int key;
    };

    // The notes of the first `ticks` ticks of variation 0 of `file` at `tempo`, as
    // `tavrel-cli preview FILE --tempo T` plays them; empty when the file makes no pattern.
    static std::vector<Note> notes(const std::filesystem::path& file, int tempo, int ticks);
};

}  // namespace tavrel::test
