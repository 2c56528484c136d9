// The desktop program's command line: which unit to talk to (a simulated one inside the
// program, with its fault switches, or the desktop's sequencer and volumes), a screenshot to
// take, and MIDI files to load as new patterns.
#pragma once

#include "sim/UnitSimOptions.h"

#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>
#include <vector>

namespace tavrel::app {

struct AppOptions {
    std::optional<sim::UnitModel> simulate;          // none: the ALSA sequencer and desktop volumes
    std::filesystem::path simStorage;                // empty: the simulated model's default folder
    std::vector<std::filesystem::path> volumeRoots;  // folders counted as volumes
    sim::UnitSimOptions faults;                      // the simulated unit's switches
    QString screenshot;                              // save the loaded main window here, then quit
    QStringList midiFiles;  // loaded as new patterns once the unit's patterns are in
    // Not on the command line: the simulated unit's waits and late replies pass in virtual
    // time, so that a silent unit's time-outs cost nothing (tests and the soak run).
    bool manualClock = false;

    // `args` without the program's name. None, with what is wrong in `error`, for a line that
    // cannot be followed.
    static std::optional<AppOptions> parse(const QStringList& args, QString& error);
    static QString usage();
};

}  // namespace tavrel::app
