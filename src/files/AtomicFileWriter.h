// Replaces a file whole: the old file is first copied to the user's backup folder, the new
// bytes go to a temporary file beside the target, which is flushed, synced and renamed over
// it, and the folder is synced. A failure at any step leaves the old file as it was.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace tavrel {

class AtomicFileWriter {
public:
    struct Result {
        bool ok = false;
        std::string error;             // what failed, for the log; empty on success
        std::filesystem::path backup;  // the copy of the replaced file, if there was one
    };

    static Result write(const std::filesystem::path& target, std::span<const std::uint8_t> bytes);

    // $XDG_DATA_HOME/tavrel/backups, or ~/.local/share/tavrel/backups.
    static std::filesystem::path backupFolder();
    // Backups kept per file name; older ones are removed after a new one is made.
    static constexpr int kBackupsKept = 20;

    // Test hook: a write fails after this many bytes of the temporary file (negative: never).
    static void failAfterBytesForTesting(long long bytes);
};

}  // namespace tavrel
