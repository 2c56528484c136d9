// The unit's storage as the computer sees it: a folder whose subfolder "VANTIK" holds the
// unit's files, shown as a volume only while the unit has it mounted. Calls come one at a
// time from the simulated unit.
#pragma once

#include <filesystem>

namespace tavrel::sim {

class StorageVolume {
public:
    static constexpr const char* kUnitFolder = "VANTIK";

    virtual ~StorageVolume() = default;

    // The folder the computer sees as the volume's root while mounted.
    virtual std::filesystem::path root() const = 0;
    // Where the unit's folder lies on disk now; the unit keeps its files there either way.
    virtual std::filesystem::path unitFolder() const = 0;
    // False, with the volume still away, when the storage cannot be shown.
    virtual bool mount() = 0;
    // Harmless when not mounted.
    virtual void unmount() = 0;
};

}  // namespace tavrel::sim
