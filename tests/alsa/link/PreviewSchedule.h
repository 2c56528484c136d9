// The notes a preview of a MIDI file plays, in order, each with the tick (counted from the
// start of playing, from 0) that plays it. The program's own sequencer works them out on a
// manual clock, so the order of notes and the loop are the program's; only the time they
// reach a destination is left for the real run to show.
#pragma once

#include "files/CFileDataMgr.h"
#include "playback/PreviewRig.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace tavrel::test {

struct ScheduledNote {
    std::int64_t tick;
    int key;
};

// The notes of the first `ticks` ticks of variation 0 of `file` at `tempo`, as
// `tavrel-cli preview FILE --tempo T` plays them; empty when the file makes no pattern.
inline std::vector<ScheduledNote> previewSchedule(const std::filesystem::path& file, int tempo,
                                                  int ticks) {
    PreviewRig rig;
    if (!CFileDataMgr::loadSmf(file)) return {};
    rig.context.patterns().getCurPattarn()->setTempo(tempo);
    rig.seq->play();
    std::vector<ScheduledNote> notes;
    // Each call moves the clock on to the next tick, so the calls count the ticks.
    for (std::int64_t tick = 0; tick < ticks; ++tick) {
        for (const int key : rig.tick().noteOns) notes.push_back({tick, key});
    }
    rig.seq->stop();
    return notes;
}

}  // namespace tavrel::test
