#include "device/platform/ExtraRootsVolumeService.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tavrel {

namespace fs = std::filesystem;

ExtraRootsVolumeService::ExtraRootsVolumeService(std::unique_ptr<VolumeService> inner,
                                                 std::vector<fs::path> extraRoots)
    : mInner(std::move(inner)) {
    for (const fs::path& root : extraRoots) {
        const fs::path normal = normalPath(root);
        if (std::find(mExtraRoots.begin(), mExtraRoots.end(), normal) == mExtraRoots.end()) {
            mExtraRoots.push_back(normal);
        }
    }
}

std::vector<fs::path> ExtraRootsVolumeService::volumes() {
    std::vector<fs::path> roots;
    for (const fs::path& root : mExtraRoots) {
        std::error_code ec;
        if (fs::is_directory(root, ec)) roots.push_back(root);
    }
    for (fs::path& root : mInner->volumes()) {
        if (std::find(mExtraRoots.begin(), mExtraRoots.end(), root) == mExtraRoots.end()) {
            roots.push_back(std::move(root));
        }
    }
    return roots;
}

bool ExtraRootsVolumeService::exists(const fs::path& path) {
    if (!onExtraRoot(path)) return mInner->exists(path);
    std::error_code ec;
    return fs::exists(path, ec);
}

bool ExtraRootsVolumeService::unmountAndEject(const fs::path& root, std::string& error) {
    const fs::path normal = normalPath(root);
    if (std::find(mExtraRoots.begin(), mExtraRoots.end(), normal) != mExtraRoots.end()) {
        return true;
    }
    return mInner->unmountAndEject(root, error);
}

bool ExtraRootsVolumeService::onExtraRoot(const fs::path& path) const {
    const fs::path normal = normalPath(path);
    return std::any_of(mExtraRoots.begin(), mExtraRoots.end(),
                       [&](const fs::path& root) { return liesOn(normal, root); });
}

bool ExtraRootsVolumeService::mountUnmounted(const fs::path& holding) {
    return mInner->mountUnmounted(holding);
}

}  // namespace tavrel
