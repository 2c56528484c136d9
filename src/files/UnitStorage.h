// The unit's data folder as the file formats see it: whole-file reads and the place to write
// a file, by name. The device link provides it while the unit's volume is known.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

class UnitStorage {
public:
    virtual ~UnitStorage() = default;
    // The unit's volume is mounted and holds the unit's folder.
    virtual bool isVolumeExist() = 0;
    // The file `name` (for example "/RHYTHM.QL0") exists in the data folder.
    virtual bool isDataFileExist(const std::string& name) = 0;
    // Where the file `name` of the data folder lives; nothing while no volume is known.
    virtual std::optional<std::filesystem::path> getFileURL(const std::string& name) = 0;
    // The whole contents of the file `name`; nothing when there is no volume or it is unreadable.
    virtual std::optional<std::vector<std::uint8_t>> getFileData(const std::string& name) = 0;
    // The model of the unit whose data folder this is ("QL-900"), under which the backups of
    // its files are kept; empty for a plain folder, whose backups go by the folder.
    virtual std::string unitModelName() { return {}; }
};

}  // namespace tavrel
