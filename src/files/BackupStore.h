// The copies of replaced files, kept in the user's data folder so that a save can be undone.
//
// Every target has a folder of its own, so that no target's saves ever prune another's: the
// unit's files under the unit's model ("QL-900/RHYTHM.QL0/"), any other file under a name made
// from its folder ("patterns-1a2b3c4d/RHYTHM.QL0/"). A copy is named after the file and the
// local time it was made ("RHYTHM-20261124-210500.QL0", "-N" added for several in one
// second). It is written under a temporary name, synced, and only then renamed to its dated
// name, so that a dated name always holds a whole copy.
#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

namespace tavrel {

class BackupStore {
public:
    // Of each target the newest 20 copies stay, and beyond those the newest of each of the
    // last 30 days.
    static constexpr std::size_t kNewestKept = 20;
    static constexpr int kDaysKept = 30;

    // $XDG_DATA_HOME/tavrel/backups, or ~/.local/share/tavrel/backups.
    static std::filesystem::path defaultRoot();

    explicit BackupStore(std::filesystem::path root = defaultRoot()) : mRoot(std::move(root)) {}
    const std::filesystem::path& root() const { return mRoot; }

    // The folder of `target`'s copies: under `unitModel` when it names the unit the file
    // belongs to, else under a name made from the target's folder.
    std::filesystem::path folderFor(const std::filesystem::path& target,
                                    const std::string& unitModel) const;

    struct Kept {
        std::filesystem::path path;  // the copy; empty when none was made
        std::string error;           // why not, in one line
    };
    // Copies the file open as `source` (the target's current contents) into `folder`, dated
    // `now`. A device that has less than `room` bytes left for it is simulated for tests
    // (negative: the real room).
    Kept keep(int source, const std::filesystem::path& target, const std::filesystem::path& folder,
              std::time_t now, long long room = -1) const;
    // Notes beside a folder-named owner where its files came from, for list().
    static void noteOrigin(const std::filesystem::path& folder,
                           const std::filesystem::path& target);
    // Removes the copies in `folder` that the rule above does not keep.
    static void prune(const std::filesystem::path& folder, std::time_t now);

    struct Entry {
        std::filesystem::path path;
        std::string stamp;  // "YYYYMMDD-HHMMSS", local time
        int sequence = 0;   // the -N of copies made within one second
        std::uintmax_t size = 0;
    };
    struct Target {
        std::string owner;             // "QL-900", or the name made from a folder
        std::string fileName;          // "RHYTHM.QL0"
        std::filesystem::path origin;  // the folder the file was in, when known
        std::vector<Entry> entries;    // newest first
    };
    // Every target with copies, by owner and file name.
    std::vector<Target> list() const;
    // The copies in one target's folder, newest first.
    static std::vector<Entry> entriesIn(const std::filesystem::path& folder);

private:
    std::filesystem::path mRoot;
};

}  // namespace tavrel
