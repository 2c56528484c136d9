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
    auto& shown = mAutomount ? mMounted : mUnmounted;
    if (std::find(mMounted.begin(), mMounted.end(), normal) == mMounted.end() &&
        std::find(mUnmounted.begin(), mUnmounted.end(), normal) == mUnmounted.end()) {
        shown.push_back(normal);
    }
    return true;
}

bool VirtualVolumeService::unmount(const fs::path& root) {
    const fs::path normal = normalPath(root);
    std::lock_guard lock(mLock);
    const auto gone = std::erase(mMounted, normal) + std::erase(mUnmounted, normal);
    return gone > 0;
}

bool VirtualVolumeService::mountUnmounted(const fs::path& holding) {
    std::lock_guard lock(mLock);
    std::error_code ec;
    const auto it = std::find_if(mUnmounted.begin(), mUnmounted.end(), [&](const fs::path& root) {
        return fs::exists(root / holding, ec);
    });
    if (it == mUnmounted.end()) return false;
    mMounted.push_back(*it);
    mUnmounted.erase(it);
    return true;
}

void VirtualVolumeService::setAutomount(bool automount) {
    std::lock_guard lock(mLock);
    mAutomount = automount;
}

void VirtualVolumeService::setRefuseEject(bool refuse) {
    std::lock_guard lock(mLock);
    mRefuseEject = refuse;
}

}  // namespace tavrel
