// The unit's storage as the computer sees it once the unit has mounted it: the first volume
// holding the unit's folder "VANTIK", whose folder "DATA" holds the unit's data files.
//
// The root found is kept until another is found, even after the volume is gone, so that
// whether it is still there stays a question of its own (isPresent). The apply worker reads
// the unit's files while the main thread may look for the volume again, hence the lock.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

class VolumeService;

class UnitVolume {
public:
    static constexpr const char* kUnitFolder = "VANTIK";
    static constexpr const char* kDataFolder = "DATA";

    // `volumes` must outlive this object.
    explicit UnitVolume(VolumeService& volumes) : mVolumes(volumes) {}

    // Looks for the unit's volume: the first, in the volume service's order, holding the
    // unit's folder. When none does, the root found before is kept.
    void find();
    std::optional<std::filesystem::path> root() const;
    // Whether the root found is mounted and holds the unit's folder.
    bool isPresent();
    // Mounts the unit's volume where it shows up without a mount (no automounter on the
    // desktop) and takes it as the root; true when it is there afterwards.
    bool mountUnmounted();
    // Unmounts and ejects the volume at the root found; false, with `error` saying why, when
    // the desktop refuses or no root was ever found.
    bool eject(std::string& error);

    // `relative` inside the unit's folder. A leading slash does not make it absolute: the
    // file formats name their files "/RHYTHM.QL0".
    std::optional<std::filesystem::path> inUnitFolder(const std::filesystem::path& relative) const;
    // The file `name` of the data folder.
    std::optional<std::filesystem::path> dataFile(const std::string& name) const;
    bool hasDataFile(const std::string& name);
    // The whole file, or nothing when there is no volume or it cannot be read whole.
    std::optional<std::vector<std::uint8_t>> readDataFile(const std::string& name);

private:
    VolumeService& mVolumes;
    std::optional<std::filesystem::path> mMountURL;
    mutable std::mutex mLock;
};

}  // namespace tavrel
