// Folders named on the command line (--volume-root DIR) shown as volumes beside those of
// another service. A unit simulated in another process keeps its storage in such a folder; it
// counts as mounted for as long as the folder exists, since this process has no other way to
// learn when the simulated unit mounts or unmounts it.
//
// The extra roots come first, in the order given: whoever names one on the command line means
// that unit rather than one that happens to be plugged in. The wrapped service's volumes follow
// in its own order, without the extra roots it may list as well.
#pragma once

#include "device/platform/VolumeService.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tavrel {

class ExtraRootsVolumeService : public VolumeService {
public:
    // Relative roots are taken from the current folder, once, here.
    ExtraRootsVolumeService(std::unique_ptr<VolumeService> inner,
                            std::vector<std::filesystem::path> extraRoots);

    std::vector<std::filesystem::path> volumes() override;
    // A path on an extra root is looked up in the file system; others are the inner service's.
    bool exists(const std::filesystem::path& path) override;
    // An extra root succeeds without touching the folder: it belongs to the process that
    // simulates the unit, which takes it away when it is told to unmount. Waiting here for it
    // to vanish would only delay that message.
    bool unmountAndEject(const std::filesystem::path& root, std::string& error) override;
    // The inner service's: an extra root is there for as long as its folder is.
    bool mountUnmounted(const std::filesystem::path& holding) override;

private:
    bool onExtraRoot(const std::filesystem::path& path) const;

    std::unique_ptr<VolumeService> mInner;
    std::vector<std::filesystem::path> mExtraRoots;  // absolute and normal
};

}  // namespace tavrel
