// What every command of the command-line tool shares: its arguments, its two streams and
// its exit codes.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace tavrel::cli {

enum ExitCode : int {
    kExitOk = 0,
    kExitFailed = 1,         // the command ran and its work did not succeed
    kExitUsage = 2,          // the command line itself was wrong
    kExitInterrupted = 130,  // stopped by Ctrl-C or SIGTERM, as shells report it
};

struct CommandIo {
    std::ostream& out;
    std::ostream& err;
};

using Args = std::vector<std::string>;

}  // namespace tavrel::cli
