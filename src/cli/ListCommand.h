// `tavrel-cli list FILE.QL0 [--json]`: show every pattern of a pattern file.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class ListCommand {
public:
    static int run(const Args& args, CommandIo io);
    static const char* usage() { return "list FILE.QL0 [--json]"; }
};

}  // namespace tavrel::cli
