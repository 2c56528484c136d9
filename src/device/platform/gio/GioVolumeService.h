// The desktop's volumes through GIO's volume monitor: the mounts a file manager shows (under
// /media or /run/media, udisks behind them) and their unmount-and-eject. Works in a program
// that runs no GLib main loop: each call reads the mounts afresh, and an eject runs in a
// private GLib context until it ends or times out. Without a session bus (a console, CI) GIO
// still knows the kernel's user-visible mounts, or none; nothing here waits for a bus that is
// not there. Safe to call from several threads; calls take turns.
#pragma once

#include "device/platform/VolumeService.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tavrel {

class GioVolumeService : public VolumeService {
public:
    // Ejecting flushes what is still unwritten to the medium first, which takes a while on a
    // slow card; after `ejectTimeout` the attempt is cancelled and reported as failed.
    explicit GioVolumeService(std::chrono::milliseconds ejectTimeout = std::chrono::seconds(20));
    ~GioVolumeService() override;
    GioVolumeService(const GioVolumeService&) = delete;
    GioVolumeService& operator=(const GioVolumeService&) = delete;

    // Sorted by root path; mounts hidden behind a volume of their own (shadowed) and mounts
    // without a local path (a phone, a network share) are left out.
    std::vector<std::filesystem::path> volumes() override;
    bool exists(const std::filesystem::path& path) override;
    // Ejects when the drive can, else unmounts; never forced, so a volume in use is refused.
    bool unmountAndEject(const std::filesystem::path& root, std::string& error) override;
    // Removable media only, through udisks with the user's own permissions; a volume is
    // mounted once it has waited 0.7 s, and a medium that fails to mount is not asked again
    // until it is plugged in anew.
    bool mountUnmounted(const std::filesystem::path& holding) override;

private:
    class Session;  // GIO's objects, kept out of this header
    std::shared_ptr<Session> mSession;
    std::chrono::milliseconds mEjectTimeout;
};

}  // namespace tavrel
