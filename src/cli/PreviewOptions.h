// The command line of `tavrel-cli preview`: the MIDI file, the variation and window to play,
// for how long, and where to.
#pragma once

#include "cli/Command.h"
#include "sim/UnitModel.h"

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

namespace tavrel::cli {

struct PreviewOptions {
    std::filesystem::path file;
    int variation = 0;           // 0 Intro .. 9 Ending
    std::optional<int> from;     // first bar, from 0; none: the variation's own window
    std::optional<int> bars;     // none: as far as the variation's window goes
    std::optional<int> tempo;    // quarter notes a minute, 40..350; none: the file's
    std::optional<int> seconds;  // none: until interrupted
    std::string port;            // part of the destination's name; empty: the only one there is
    // Plays into a unit simulated inside the tool instead of the ALSA sequencer.
    std::optional<sim::UnitModel> simulate;

    // Nothing, with what is wrong on `err` (one line without its end), for a line that
    // cannot be followed.
    static std::optional<PreviewOptions> parse(const Args& args, std::ostream& err);
};

}  // namespace tavrel::cli
