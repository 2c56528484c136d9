// What `tavrel-cli unit status` and `unit load` print on stdout: one JSON object with --json,
// else a few lines of text. Alerts are not printed here; they went to stderr as they came.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

namespace tavrel::cli {

class UnitReport {
public:
    struct Status {
        bool connected = false;
        std::string model;  // empty while not connected
        bool held = false;  // the unit reports itself in an editor's hands
        std::optional<std::filesystem::path> volumeRoot;  // the unit's storage, while mounted
    };
    // The kit names and patterns are those of the current Context.
    struct Load {
        bool ok = false;
        std::string model;  // empty while not connected
        std::chrono::milliseconds elapsed{0};
        std::optional<std::string> alert;  // the alert that stopped the load
    };

    // {"connected", "model" (null while not connected), "editorMode" (0 or 1), "mounted",
    // "volumeRoot" (null while not mounted)}.
    static void printStatus(const Status& status, bool json, std::ostream& out);
    // {"ok", "model", "elapsed_ms", "kits", "patterns" (as `list --json` has them)}, and
    // "alert" after a failure. As text, nothing after a failure.
    static void printLoad(const Load& load, bool json, std::ostream& out);
};

}  // namespace tavrel::cli
