// The unit's data folder as a plain folder on disk: a copy of the unit's files, a simulated
// unit's storage, or the folder of a volume mounted by hand.
#pragma once

#include "files/UnitStorage.h"

#include <filesystem>
#include <utility>

namespace tavrel {

class FolderStorage : public UnitStorage {
public:
    explicit FolderStorage(std::filesystem::path folder) : mFolder(std::move(folder)) {}

    bool isVolumeExist() override;
    bool isDataFileExist(const std::string& name) override;
    std::optional<std::filesystem::path> getFileURL(const std::string& name) override;
    std::optional<std::vector<std::uint8_t>> getFileData(const std::string& name) override;

private:
    std::filesystem::path mFolder;
};

}  // namespace tavrel
