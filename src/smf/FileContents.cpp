#include "smf/FileContents.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace tavrel::smf {

namespace {

// Closes the descriptor on every way out.
class Descriptor {
public:
    explicit Descriptor(int fd) : mFd(fd) {}
    ~Descriptor() {
        if (mFd >= 0) ::close(mFd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return mFd; }

private:
    int mFd;
};

std::string unreadable(int error) {
    return std::string("cannot be read: ") + std::strerror(error);
}

std::string tooLarge(std::size_t maxBytes) {
    constexpr std::size_t kMiB = std::size_t{1} << 20;
    const std::string cap = maxBytes % kMiB == 0 ? std::to_string(maxBytes / kMiB) + " MiB"
                                                 : std::to_string(maxBytes) + " bytes";
    return "is larger than " + cap + ", the most a MIDI file may be";
}

}  // namespace

FileContents FileContents::read(const std::filesystem::path& path, std::size_t maxBytes) {
    FileContents contents;
    // Non-blocking, so that opening a FIFO without a writer returns at once; it is refused
    // below. A regular file reads the same either way.
    const Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat st {};
    if (fd.get() < 0 || ::fstat(fd.get(), &st) != 0) {
        contents.mError = unreadable(errno);
        return contents;
    }
    if (!S_ISREG(st.st_mode)) {
        contents.mError = "is not a regular file";
        return contents;
    }
    if (static_cast<std::uintmax_t>(st.st_size) > maxBytes) {
        contents.mError = tooLarge(maxBytes);
        return contents;
    }
    // The size is a hint: a file that grows while it is read is still held to the cap.
    std::vector<std::uint8_t>& bytes = contents.mBytes;
    bytes.resize(static_cast<std::size_t>(st.st_size) + 1);
    std::size_t filled = 0;
    for (;;) {
        if (filled == bytes.size()) {
            if (bytes.size() > maxBytes) break;
            bytes.resize(std::min(bytes.size() * 2, maxBytes + 1));
        }
        const ssize_t n = ::read(fd.get(), bytes.data() + filled, bytes.size() - filled);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            contents.mError = unreadable(errno);
            bytes.clear();
            return contents;
        }
        if (n == 0) break;
        filled += static_cast<std::size_t>(n);
    }
    if (filled > maxBytes) {
        contents.mError = tooLarge(maxBytes);
        bytes.clear();
        return contents;
    }
    bytes.resize(filled);
    return contents;
}

}  // namespace tavrel::smf
