// `tavrel-cli backups [--json]`: the copies of replaced files that are kept, per target, newest
// first, with date, size and, for pattern files, the number of patterns. A copy of the unit's
// pattern file goes back onto the unit with `unit push COPY`.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class BackupsCommand {
public:
    static int run(const Args& args, CommandIo io);
    static const char* usage() { return "backups [--json]"; }
};

}  // namespace tavrel::cli
