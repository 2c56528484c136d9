// The command lines of `tavrel-cli preview` and `tavrel-cli render`: the MIDI file or the
// pattern of a pattern file, the variation and window to play, for how long, and where to:
// a MIDI destination or the built-in synthesizer, live, or a WAV file.
#pragma once

#include "cli/Command.h"
#include "sim/UnitModel.h"

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

namespace tavrel::cli {

struct PreviewOptions {
    enum class Mode { Preview, Render };

    std::filesystem::path file;
    // FILE.QL0:P, P from 1 as `list` numbers them: that pattern of a pattern file. None: a
    // MIDI file.
    std::optional<int> patternNumber;
    int variation = 0;           // 0 Intro .. 9 Ending
    std::optional<int> from;     // first bar, from 0; none: the variation's own window
    std::optional<int> bars;     // none: as far as the variation's window goes
    std::optional<int> tempo;    // quarter notes a minute, 40..350; none: the file's
    std::optional<int> seconds;  // none: until interrupted
    std::string port;            // part of the destination's name; empty: the only one there is
    // Plays into a unit simulated inside the tool instead of the ALSA sequencer.
    std::optional<sim::UnitModel> simulate;
    // Plays through the built-in synthesizer; always so when rendering.
    bool synth = false;
    std::optional<std::filesystem::path> soundFont;  // none: the system's General MIDI one
    std::filesystem::path output;                    // the WAV file a render writes
    int loops = 2;                                   // passes of the window a render plays

    // Nothing, with what is wrong on `err` (one line without its end), for a line that
    // cannot be followed.
    static std::optional<PreviewOptions> parse(const Args& args, std::ostream& err,
                                               Mode mode = Mode::Preview);
};

}  // namespace tavrel::cli
