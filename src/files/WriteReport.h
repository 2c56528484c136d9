// What a whole-file write did, handed up to whoever tells the user: whether the new bytes are
// in place, where the replaced file's backup is kept or why none could be kept, and anything
// unusual about a write that still succeeded.
#pragma once

#include <filesystem>
#include <string>

namespace tavrel {

struct WriteReport {
    bool ok = false;
    std::filesystem::path target;  // the file written: a symbolic link's destination
    std::string error;             // why the write failed, in one line; empty on success
    bool replaced = false;         // there was a file before
    std::filesystem::path backup;  // the copy of the replaced file; empty when none was kept
    std::string noBackup;          // why a file was replaced without a backup
    bool inPlace = false;          // no room for a temporary copy: written over the old file
    std::string warning;           // a caveat on a success (the folder could not be synced)

    // A write that failed before it touched anything.
    static WriteReport failed(std::filesystem::path target, std::string error) {
        WriteReport report;
        report.target = std::move(target);
        report.error = std::move(error);
        return report;
    }

    // One line for the user about the replaced file's backup: where it is kept, or why there
    // is none. Empty when the write made a new file or failed with the old file untouched.
    std::string backupNote() const;
};

}  // namespace tavrel
