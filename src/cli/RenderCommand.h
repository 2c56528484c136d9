// `tavrel-cli render INPUT -o OUT.wav`: plays a variation's window of a MIDI file or of a
// pattern of a pattern file a number of times through the built-in synthesizer, offline and
// faster than real time, into a 48 kHz, 16-bit stereo WAV file.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class RenderCommand {
public:
    // Parses the command line and runs it in a Context of its own.
    static int run(const Args& args, CommandIo io);
    static const char* usage() {
        return "render FILE.mid|FILE.QL0:P -o OUT.wav [--variation N] [--from B] [--bars N] "
               "[--tempo T] [--loops K] [--soundfont FILE]";
    }
};

}  // namespace tavrel::cli
