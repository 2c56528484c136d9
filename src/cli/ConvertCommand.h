// `tavrel-cli convert FILE.mid... -o OUT.QL0 [--no-merge]`: turn MIDI files into a pattern file,
// one pattern each.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class ConvertCommand {
public:
    static int run(const Args& args, CommandIo io);
    static const char* usage() { return "convert FILE.mid... -o OUT.QL0 [--no-merge]"; }
};

}  // namespace tavrel::cli
