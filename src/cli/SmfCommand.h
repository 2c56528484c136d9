// `tavrel-cli smf FILE [--json]`: shows what the MIDI file reader makes of a file.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class SmfCommand {
public:
    static int run(const Args& args, CommandIo io);
    static const char* usage() { return "smf FILE [--json]"; }
};

}  // namespace tavrel::cli
