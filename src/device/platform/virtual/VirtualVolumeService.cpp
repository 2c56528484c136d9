#include "device/platform/virtual/VirtualVolumeService.h"

#include <algorithm>
#include <system_error>

namespace tavrel {

namespace fs = std::filesystem;

std::vector<fs::path> VirtualVolumeService::volumes() {
    std::lock_guard lock(mLock);
    return mMounted;
}

bool VirtualVolumeService::exists(const fs::path& path) {
    const fs::path normal = normalPath(path);
    {
        std::lock_guard lock(mLock);
        const bool onVolume =
            std::any_of(mMounted.begin(), mMounted.end(),
                        [&](const fs::path& root) { return liesOn(normal, root); });
        if (!onVolume) return false;
    }
    std::error_code ec;
    return fs::exists(normal, ec);
}

bool VirtualVolumeService::unmountAndEject(const fs::path& root, std::string& error) {
    const fs::path normal = normalPath(root);
    std::lock_guard lock(mLock);
    const auto it = std::find(mMounted.begin(), mMounted.end(), normal);
    if (it == mMounted.end()) {
        error = "no volume is mounted at " + normal.string();
        return false;
    }
    if (mRefuseEject) {
        error = "the volume at " + normal.string() + " is in use";
        return false;
    }
    mMounted.erase(it);
    return true;
}

bool VirtualVolumeService::mount(const fs::path& root) {
    std::error_code ec;
    if (!fs::is_directory(root, ec)) return false;
    const fs::path normal = normalPath(root);
    std::lock_guard lock(mLock);
    if (std::find(mMounted.begin(), mMounted.end(), normal) == mMounted.end()) {
        mMounted.push_back(normal);
    }
    return true;
}

bool VirtualVolumeService::unmount(const fs::path& root) {
    const fs::path normal = normalPath(root);
    std::lock_guard lock(mLock);
    const auto it = std::find(mMounted.begin(), mMounted.end(), normal);
    if (it == mMounted.end()) return false;
    mMounted.erase(it);
    return true;
}

void VirtualVolumeService::setRefuseEject(bool refuse) {
    std::lock_guard lock(mLock);
    mRefuseEject = refuse;
}

}  // namespace tavrel
