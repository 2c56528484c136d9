// The simulator process's command line: which model, where its storage lives, and the fault
// switches it starts with.
#pragma once

#include "sim/UnitFaults.h"
#include "sim/UnitModel.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tavrel::sim {

class UnitSimOptions {
public:
    // `args` without the program's name. None, with what is wrong in `error`, for a line
    // that cannot be followed.
    static std::optional<UnitSimOptions> parse(std::span<const std::string_view> args,
                                               std::string& error);
    static std::string usage();

    void applyTo(UnitFaults& faults) const;

    UnitModel model = UnitModel::ql900();
    std::filesystem::path storage;  // empty: the model's default storage
    bool help = false;

    bool silent = false;
    int replyDelayMs = 0;
    bool heldByOtherEditor = false;
    int dropKitReply = -1;
    int dropKitLists = 1;
    bool neverMount = false;
    int unplugAtMessage = 0;
    UnitStep unplugAtStep = UnitStep::None;

private:
    bool take(std::string_view option, std::optional<std::string_view> value, bool& usedValue,
              std::string& error);
};

}  // namespace tavrel::sim
