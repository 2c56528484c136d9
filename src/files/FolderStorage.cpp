#include "files/FolderStorage.h"

#include <fstream>
#include <system_error>

namespace tavrel {

namespace fs = std::filesystem;

bool FolderStorage::isVolumeExist() {
    std::error_code ec;
    return fs::is_directory(mFolder, ec);
}

bool FolderStorage::isDataFileExist(const std::string& name) {
    const std::optional<fs::path> path = getFileURL(name);
    std::error_code ec;
    return path && fs::is_regular_file(*path, ec);
}

std::optional<fs::path> FolderStorage::getFileURL(const std::string& name) {
    if (!isVolumeExist()) return std::nullopt;
    // Names are given as on the unit, from the root of its data folder ("/MEMORY1.QL0").
    const std::size_t start = name.find_first_not_of('/');
    if (start == std::string::npos) return std::nullopt;
    return mFolder / name.substr(start);
}

std::optional<std::vector<std::uint8_t>> FolderStorage::getFileData(const std::string& name) {
    if (!isDataFileExist(name)) return std::nullopt;
    std::ifstream in(*getFileURL(name), std::ios::binary);
    if (!in) return std::nullopt;
    std::vector<std::uint8_t> bytes;
    char chunk[16384];
    while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
        bytes.insert(bytes.end(), chunk, chunk + in.gcount());
    }
    if (in.bad()) return std::nullopt;
    return bytes;
}

}  // namespace tavrel
