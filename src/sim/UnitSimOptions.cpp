#include "sim/UnitSimOptions.h"

#include <charconv>

namespace tavrel::sim {

namespace {

std::optional<int> number(std::string_view text, int lowest) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || value < lowest) {
        return std::nullopt;
    }
    return value;
}

bool needsValue(std::string_view option) {
    return option == "--model" || option == "--storage" || option == "--slow" ||
           option == "--drop-kit-reply" || option == "--drop-kit-lists" || option == "--unplug-at";
}

}  // namespace

std::optional<UnitSimOptions> UnitSimOptions::parse(std::span<const std::string_view> args,
                                                    std::string& error) {
    UnitSimOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::optional<std::string_view> value;
        if (needsValue(args[i])) {
            if (i + 1 == args.size()) {
                error = std::string(args[i]) + " needs a value";
                return std::nullopt;
            }
            value = args[i + 1];
        }
        bool usedValue = false;
        if (!options.take(args[i], value, usedValue, error)) return std::nullopt;
        if (usedValue) ++i;
    }
    return options;
}

bool UnitSimOptions::take(std::string_view option, std::optional<std::string_view> value,
                          bool& usedValue, std::string& error) {
    usedValue = value.has_value();
    std::optional<int> n;
    if (option == "--help" || option == "-h") {
        help = true;
    } else if (option == "--silent") {
        silent = true;
    } else if (option == "--held") {
        heldByOtherEditor = true;
    } else if (option == "--never-mount") {
        neverMount = true;
    } else if (option == "--model") {
        const auto named = UnitModel::named(*value);
        if (named) model = *named;
        if (!named) error = "unknown model " + std::string(*value) + " (QL-900 or QL-414XE3)";
        return named.has_value();
    } else if (option == "--storage") {
        storage = std::filesystem::path(*value);
    } else if (option == "--slow" && (n = number(*value, 0))) {
        replyDelayMs = *n;
    } else if (option == "--drop-kit-reply" && (n = number(*value, 0))) {
        dropKitReply = *n;
    } else if (option == "--drop-kit-lists" && (*value == "all" || (n = number(*value, 1)))) {
        dropKitLists = n.value_or(-1);
    } else if (option == "--unplug-at" && (n = number(*value, 1))) {
        unplugAtMessage = *n;
    } else if (option == "--unplug-at" && stepNamed(*value)) {
        unplugAtStep = *stepNamed(*value);
    } else {
        error = value ? "bad value for " + std::string(option) + ": " + std::string(*value)
                      : "unknown option " + std::string(option);
        return false;
    }
    return true;
}

void UnitSimOptions::applyTo(UnitFaults& faults) const {
    faults.silent = silent;
    faults.replyDelayMs = replyDelayMs;
    faults.heldByOtherEditor = heldByOtherEditor;
    faults.dropKitReply = dropKitReply;
    faults.dropKitLists = dropKitLists;
    faults.neverMount = neverMount;
    faults.unplugAtMessage = unplugAtMessage;
    faults.unplugAtStep = unplugAtStep;
}

std::string UnitSimOptions::usage() {
    return R"(Usage: tavrel-unit-sim [options]

A QL unit without hardware, as a client of the ALSA sequencer named after its model. Tavrel
finds it by its MIDI ports; give Tavrel --volume-root with the storage folder to see the
unit's storage, which appears there as VANTIK exactly while the unit has it mounted.
Runs until interrupted (Ctrl-C) or terminated.

  --model NAME           QL-900 (default) or QL-414XE3
  --storage DIR          the unit's storage folder
                         (default $XDG_DATA_HOME/tavrel/sim/<model>)
  --silent               hear every message, answer none
  --slow MS              act on and answer each request MS milliseconds late
  --held                 another editor holds the unit
  --drop-kit-reply N     lose the reply for kit slot N (0-based; the closing slot counts)
  --drop-kit-lists K     ... in the next K kit lists (default 1), or in "all"
  --never-mount          ignore mount requests; the storage never appears
  --unplug-at STEP|N     vanish on receiving request STEP or the N-th message; STEP is one
                         of editor-on, editor-off, editor-request, mount, unmount,
                         mount-request, kit-request
  -h, --help             show this text
)";
}

}  // namespace tavrel::sim
