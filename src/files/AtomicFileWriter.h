// Replaces a file whole without ever losing the old one. The new bytes go to a temporary file
// beside the target, which is synced; only then is the old file copied to its backup (see
// BackupStore), the temporary renamed over the target and the folder synced. A backup is a
// safety net, never a reason to refuse: when none can be kept, the write goes ahead and the
// report says why. When there is no room beside the target for the temporary copy, the old file
// is overwritten in place, but only once its backup has been read back equal.
//
// A failed write leaves the old file and the backup history as they were. A symbolic link is
// followed: the file it points to is replaced, the link stays. Temporaries that an earlier
// write left when its process died are removed before the next write into their folder.
#pragma once

#include "files/WriteReport.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace tavrel {

class AtomicFileWriter {
public:
    // `unitModel` names the unit the target belongs to ("QL-900"), whose backups are kept
    // under its name; empty for any other file.
    static WriteReport write(const std::filesystem::path& target,
                             std::span<const std::uint8_t> bytes,
                             const std::string& unitModel = {});

    // Faults a test can make the writer meet, on any file system. Negative: none.
    struct Faults {
        long long failAfterBytes = -1;  // the temporary copy fails with EIO after this many bytes
        long long roomBeside = -1;      // the target's device has room for this many new bytes
        long long roomForBackup = -1;   // the backup's device has room for this many bytes
        bool folderSyncFails = false;   // the target's folder cannot be synced after the rename
    };
    static void setFaultsForTesting(const Faults& faults);
    // Shorthand for a temporary copy that fails after `bytes` bytes (negative: never).
    static void failAfterBytesForTesting(long long bytes);
};

}  // namespace tavrel
