// `tavrel-cli unit apply-all`: the Apply All work without its dialog. The patterns, read from
// the unit or from a pattern file (--from), are saved as the unit's RHYTHM.QL0, then the kit
// and tempo of every pattern are set in all 50 memories of the unit's memory file, which is
// written back as both its copies. Progress goes to stderr as the dialog shows it.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class ApplyAllCommand {
public:
    // `args` starts with "apply-all".
    static int run(const Args& args, CommandIo io);
    static const char* usage() {
        return "unit apply-all [--from IN.QL0] [--simulate[=QL-900|QL-414XE3]] "
               "[--sim-storage DIR] [--volume-root DIR]...";
    }
};

}  // namespace tavrel::cli
