#include "sim/VirtualStorageVolume.h"

#include "device/platform/virtual/VirtualVolumeService.h"
#include "sim/HiddenFolderVolume.h"

#include <system_error>
#include <utility>

namespace tavrel::sim {

namespace fs = std::filesystem;

VirtualStorageVolume::VirtualStorageVolume(VirtualVolumeService& volumes, fs::path root)
    : mVolumes(volumes), mRoot(std::move(root)) {
    const fs::path hidden = mRoot / HiddenFolderVolume::kHiddenUnitFolder;
    std::error_code ec;
    if (fs::exists(hidden, ec) && !fs::exists(unitFolder(), ec)) {
        fs::rename(hidden, unitFolder(), ec);
    }
}

bool VirtualStorageVolume::mount() {
    return mVolumes.mount(mRoot);
}

void VirtualStorageVolume::unmount() {
    mVolumes.unmount(mRoot);
}

}  // namespace tavrel::sim
