// The arguments of the commands that take one path and an optional --json.
#pragma once

#include "cli/Command.h"

#include <optional>
#include <string>

namespace tavrel::cli {

struct PathArgs {
    std::string path;
    bool json = false;

    // Nothing (with one line on stderr) for a wrong command line; `what` names the path in
    // that line ("file", "data folder").
    static std::optional<PathArgs> parse(const Args& args, CommandIo io, const char* usage,
                                         const char* what);
};

}  // namespace tavrel::cli
