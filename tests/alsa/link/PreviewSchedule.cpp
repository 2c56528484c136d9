#include "alsa/link/PreviewSchedule.h"

#include "files/CFileDataMgr.h"
#include "playback/PreviewRig.h"

namespace tavrel::test {

std::vector<PreviewSchedule::Note> PreviewSchedule::notes(const std::filesystem::path& file,
                                                          int tempo, int ticks) {
    PreviewRig rig;
    if (!CFileDataMgr::loadSmf(file)) return {};
    rig.context.patterns().getCurPattarn()->setTempo(tempo);
    rig.seq->play();
    std::vector<Note> notes;
    // Each call moves the clock on to the next tick, so the calls count the ticks.
    for (std::int64_t tick = 0; tick < ticks; ++tick) {
        for (const int key : rig.tick().noteOns) notes.push_back({tick, key});
    }
    rig.seq->stop();
    return notes;
}

}  // namespace tavrel::test
