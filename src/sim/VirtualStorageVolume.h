// The unit's storage inside the program: the folder stays where it is and appears in the
// VirtualVolumeService while mounted, as a USB volume would on the desktop.
#pragma once

#include "sim/StorageVolume.h"

namespace tavrel {
class VirtualVolumeService;
}

namespace tavrel::sim {

class VirtualStorageVolume : public StorageVolume {
public:
    // Takes over a storage folder last used by the simulator process, which hides the unit's
    // folder while unmounted (see HiddenFolderVolume).
    VirtualStorageVolume(VirtualVolumeService& volumes, std::filesystem::path root);

    std::filesystem::path root() const override { return mRoot; }
    std::filesystem::path unitFolder() const override { return mRoot / kUnitFolder; }
    bool mount() override;
    void unmount() override;

private:
    VirtualVolumeService& mVolumes;
    std::filesystem::path mRoot;
};

}  // namespace tavrel::sim
