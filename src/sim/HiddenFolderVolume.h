// The unit's storage for a program in another process, which is told the folder with
// --volume-root and counts it as the unit's volume exactly while the folder "VANTIK" is in it.
// Unmounted, the unit's folder is kept as ".VANTIK"; mounting renames it, so the whole folder
// appears and vanishes at once, never half there.
#pragma once

#include "sim/StorageVolume.h"

namespace tavrel::sim {

class HiddenFolderVolume : public StorageVolume {
public:
    static constexpr const char* kHiddenUnitFolder = ".VANTIK";

    // A unit folder left showing (by a simulator that was killed while mounted, or by the
    // in-process unit) is hidden at once: the unit starts unmounted.
    explicit HiddenFolderVolume(std::filesystem::path root);
    // The storage is not left showing when the simulator goes away.
    ~HiddenFolderVolume() override;
    HiddenFolderVolume(const HiddenFolderVolume&) = delete;
    HiddenFolderVolume& operator=(const HiddenFolderVolume&) = delete;

    std::filesystem::path root() const override { return mRoot; }
    std::filesystem::path unitFolder() const override;
    bool mount() override;
    void unmount() override;

private:
    std::filesystem::path shown() const { return mRoot / kUnitFolder; }
    std::filesystem::path hidden() const { return mRoot / kHiddenUnitFolder; }

    std::filesystem::path mRoot;
    bool mMounted = false;
};

}  // namespace tavrel::sim
