// Folders that the program itself shows as mounted volumes: the simulated unit's storage and
// the volumes of tests. Only what lies on a mounted folder exists here, so a folder that is
// unmounted vanishes for the device link although it stays on disk, as a real volume would.
// Safe to use from several threads: the simulated unit mounts from its own thread.
#pragma once

#include "device/platform/VolumeService.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace tavrel {

class VirtualVolumeService : public VolumeService {
public:
    // Volumes are listed in the order they were mounted, the way they appear on a desk.
    std::vector<std::filesystem::path> volumes() override;
    bool exists(const std::filesystem::path& path) override;
    // Unmounts the folder; there is no medium to eject. Fails while eject is refused.
    bool unmountAndEject(const std::filesystem::path& root, std::string& error) override;
    // Mounts the folders waiting without a mount (see setAutomount) that hold `holding`.
    bool mountUnmounted(const std::filesystem::path& holding) override;

    // Shows the folder `root` as a volume; false when it is not a folder. Mounting a mounted
    // folder again changes nothing, its place in the list included.
    bool mount(const std::filesystem::path& root);
    // Takes the volume away, as pulling the cable would; false when it was not there.
    bool unmount(const std::filesystem::path& root);

    // While off, a folder given to mount() appears as a volume nobody has mounted, as a
    // medium does on a desktop without an automounter, until mountUnmounted mounts it.
    void setAutomount(bool automount);

    // While set, unmountAndEject fails as a desktop refuses to eject a volume in use.
    void setRefuseEject(bool refuse);

private:
    std::mutex mLock;
    std::vector<std::filesystem::path> mMounted;    // normal roots, in mount order
    std::vector<std::filesystem::path> mUnmounted;  // shown without a mount
    bool mRefuseEject = false;
    bool mAutomount = true;
};

}  // namespace tavrel
