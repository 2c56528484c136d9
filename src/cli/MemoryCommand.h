// `tavrel-cli memory DATA_FOLDER [--json]`: show kit and tempo of the user patterns in the unit's
// 50 memories.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class MemoryCommand {
public:
    static int run(const Args& args, CommandIo io);
    static const char* usage() { return "memory DATA_FOLDER [--json]"; }
};

}  // namespace tavrel::cli
