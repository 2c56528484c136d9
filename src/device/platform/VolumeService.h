// The computer's storage volumes as the device link needs them: which are mounted, whether a
// path on them exists, and giving one back. The unit's storage shows up here once it has been
// asked to mount; the real desktop and the simulated unit each provide their own.
//
// The MIDI side of the platform is a separate interface beside this one, so that a program
// can pair any volume back end with any MIDI back end (a simulated unit needs both virtual).
#pragma once

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace tavrel {

class VolumeService {
public:
    virtual ~VolumeService() = default;

    // Roots of the mounted volumes a user would see in a file manager, absolute, in an order
    // that stays the same from call to call while nothing is mounted or unmounted. The unit's
    // volume is the first one holding its folder, so the order decides between two units.
    virtual std::vector<std::filesystem::path> volumes() = 0;

    // Whether `path` exists as far as this service's volumes go. May block for as long as the
    // file system takes to answer.
    virtual bool exists(const std::filesystem::path& path) = 0;

    // Unmounts the volume mounted at `root` and ejects its medium where that is possible, so
    // the unit can take its storage back. Blocks until done or given up; on false, `error`
    // says why in words fit for the log.
    virtual bool unmountAndEject(const std::filesystem::path& root, std::string& error) = 0;

    // Where nothing mounts removable media by itself (no automounter in the session), mounts
    // the volumes that have shown up without a mount and keeps mounted one whose root holds
    // `holding`; the others are unmounted again. Each appearance of a volume is tried once,
    // and only after the desktop's own automounter has had its chance. True when a volume
    // holding `holding` was mounted by this call. Blocks while mounting.
    virtual bool mountUnmounted(const std::filesystem::path& holding) = 0;

    // `path` in the form the volume lists use: absolute, lexically normal, without a trailing
    // slash. The same folder may be named with a trailing slash or from the current folder.
    static std::filesystem::path normalPath(const std::filesystem::path& path) {
        std::error_code ec;
        std::filesystem::path p = std::filesystem::absolute(path, ec).lexically_normal();
        if (!p.has_filename() && p.has_relative_path()) p = p.parent_path();
        return p;
    }

    // Whether the normal path `path` is `root` or lies below it, by whole components, so that
    // /media/unit2 does not lie on /media/unit.
    static bool liesOn(const std::filesystem::path& path, const std::filesystem::path& root) {
        auto p = path.begin();
        for (auto r = root.begin(); r != root.end(); ++r, ++p) {
            if (p == path.end() || *p != *r) return false;
        }
        return true;
    }
};

}  // namespace tavrel
