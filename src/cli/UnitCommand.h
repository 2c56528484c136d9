// `tavrel-cli unit status|load|pull|push`: talk to the unit, a simulated one (--simulate) or
// one on this computer's ALSA sequencer. Every command ends the editor mode it started, also
// when interrupted (then it exits 130), and exits 1 with the alert on stderr when a step fails.
#pragma once

#include "cli/Command.h"

namespace tavrel::cli {

class UnitSession;
struct UnitOptions;

class UnitCommand {
public:
    // Parses the command line and runs it in a Context of its own.
    static int run(const Args& args, CommandIo io);
    // Runs `options`' action through `session`, opened for the same options in the current
    // Context.
    static int run(UnitSession& session, const UnitOptions& options, CommandIo io);
    static const char* usage() {
        return "unit status|load [--json] | unit pull OUT.QL0 | unit push IN.QL0 | "
               "unit apply-all [--from IN.QL0] "
               "[--simulate[=QL-900|QL-414XE3]] [--sim-storage DIR] [--volume-root DIR]...";
    }
};

}  // namespace tavrel::cli
