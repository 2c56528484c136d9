// The command line of `tavrel-cli unit`: what to do, which unit to do it with, and where the
// pattern file of pull and push lies.
#pragma once

#include "cli/Command.h"
#include "sim/UnitModel.h"

#include <filesystem>
#include <optional>
#include <ostream>
#include <vector>

namespace tavrel::cli {

struct UnitOptions {
    enum class Action { Status, Load, Pull, Push };

    Action action = Action::Status;
    std::filesystem::path file;  // pull: where the patterns go; push: where they come from
    bool json = false;           // status and load only
    // A unit simulated inside this process; none: the real MIDI and volume services.
    std::optional<sim::UnitModel> simulate;
    std::filesystem::path simStorage;  // the simulated unit's storage; empty: its own default
    // Folders counted as volumes, for a unit simulated in another process.
    std::vector<std::filesystem::path> volumeRoots;

    // Nothing, with what is wrong on `err` (one line without its end), for a line that
    // cannot be followed.
    static std::optional<UnitOptions> parse(const Args& args, std::ostream& err);
};

}  // namespace tavrel::cli
