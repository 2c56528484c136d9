// What the command tests share: a scratch folder (which takes the backups too), the command's
// output and errors, and a silenced log, which says thousands of lines a run.
#pragma once

#include "cli/Command.h"
#include "model/Log.h"
#include "support/ScratchFolder.h"

#include <sstream>
#include <string>

namespace tavrel::test {

using Command = int (*)(const cli::Args&, cli::CommandIo);

class CommandRig {
public:
    CommandRig() {
        Log::setSink([](std::string_view, std::string_view) {});
    }
    ~CommandRig() { Log::setSink({}); }
    CommandRig(const CommandRig&) = delete;
    CommandRig& operator=(const CommandRig&) = delete;

    // Runs `command` with fresh output and errors.
    int run(Command command, const cli::Args& args) {
        out.str("");
        err.str("");
        return command(args, {out, err});
    }

    ScratchFolder dir;
    std::ostringstream out;
    std::ostringstream err;
};

}  // namespace tavrel::test
