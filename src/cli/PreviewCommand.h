// `tavrel-cli preview FILE.mid`: loads the file as a new pattern and plays one variation's
// window through the preview sequencer, to an ALSA destination, a unit simulated inside the
// tool or the built-in synthesizer, for a given time or until Ctrl-C, then stops with every
// note ended.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class PreviewCommand {
public:
    // Parses the command line and runs it in a Context of its own.
    static int run(const Args& args, CommandIo io);
    static const char* usage() {
        return "preview FILE.mid|FILE.QL0:P [--variation N] [--from B] [--bars N] [--tempo T] "
               "[--seconds S] [--port NAME] [--simulate[=QL-900|QL-414XE3]] "
               "[--synth [--soundfont FILE]]";
    }
};

}  // namespace tavrel::cli
