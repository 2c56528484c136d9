#include "device/UnitVolume.h"

#include "device/platform/VolumeService.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

// The whole file in one go, or nothing when any part of it cannot be read. A regular file
// only: a folder of the same name is not the file.
std::optional<std::vector<std::uint8_t>> readWholeFile(const fs::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    std::optional<std::vector<std::uint8_t>> bytes;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        bytes.emplace(static_cast<std::size_t>(info.st_size));
        std::size_t done = 0;
        // The size is only a hint: a file being replaced may have grown.
        for (;;) {
            if (done == bytes->size()) bytes->resize(done + 64 * 1024);
            const ssize_t got = ::read(fd, bytes->data() + done, bytes->size() - done);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) {
                bytes.reset();
                break;
            }
            if (got == 0) {
                bytes->resize(done);
                break;
            }
            done += static_cast<std::size_t>(got);
        }
    }
    ::close(fd);
    return bytes;
}

}  // namespace

void UnitVolume::find() {
    for (const fs::path& root : mVolumes.volumes()) {
        if (mVolumes.exists(root / kUnitFolder)) {
            std::lock_guard lock(mLock);
            mMountURL = root;
            return;
        }
    }
}

std::optional<fs::path> UnitVolume::root() const {
    std::lock_guard lock(mLock);
    return mMountURL;
}

bool UnitVolume::isPresent() {
    const std::optional<fs::path> found = root();
    return found && mVolumes.exists(*found / kUnitFolder);
}

bool UnitVolume::mountUnmounted() {
    if (!mVolumes.mountUnmounted(kUnitFolder)) return false;
    find();
    return isPresent();
}

bool UnitVolume::eject(std::string& error) {
    const std::optional<fs::path> found = root();
    if (!found) {
        error = "no volume of the unit was found";
        return false;
    }
    return mVolumes.unmountAndEject(*found, error);
}

std::optional<fs::path> UnitVolume::inUnitFolder(const fs::path& relative) const {
    std::optional<fs::path> url = root();
    if (url) *url = *url / kUnitFolder / relative.relative_path();
    return url;
}

std::optional<fs::path> UnitVolume::dataFile(const std::string& name) const {
    return inUnitFolder(fs::path(kDataFolder) / fs::path(name).relative_path());
}

bool UnitVolume::hasDataFile(const std::string& name) {
    const std::optional<fs::path> file = dataFile(name);
    return file && mVolumes.exists(*file);
}

std::optional<std::vector<std::uint8_t>> UnitVolume::readDataFile(const std::string& name) {
    const std::optional<fs::path> file = dataFile(name);
    // Asked first so that a volume that is gone is gone for reading too, even where its
    // folder stays on disk (a simulated unit).
    if (!file || !mVolumes.exists(*file)) return std::nullopt;
    return readWholeFile(*file);
}

}  // namespace tavrel
