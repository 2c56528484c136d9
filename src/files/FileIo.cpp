#include "files/FileIo.h"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace tavrel {

namespace {

constexpr std::size_t kChunk = 1 << 16;

bool fail(FileIo::Failure& failure, const char* what, int errnum) {
    failure.errnum = errnum;
    failure.what = std::string(what) + ": " + std::strerror(errnum);
    return false;
}

// Writes at `offset`, stopping where the limit's room ends.
bool writeAt(int fd, const std::uint8_t* data, std::size_t size, off_t offset, FileIo::Limit limit,
             FileIo::Failure& failure) {
    std::size_t done = 0;
    while (done < size) {
        std::size_t chunk = std::min(size - done, kChunk);
        const long long at = static_cast<long long>(offset) + static_cast<long long>(done);
        if (limit.room >= 0) {
            if (at >= limit.room) return fail(failure, "write", limit.errnum);
            chunk = std::min(chunk, static_cast<std::size_t>(limit.room - at));
        }
        const ssize_t n = ::pwrite(fd, data + done, chunk, static_cast<off_t>(at));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return fail(failure, "write", n < 0 ? errno : EIO);
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool cutTo(int fd, off_t size, FileIo::Failure& failure) {
    return ::ftruncate(fd, size) == 0 || fail(failure, "truncate", errno);
}

// Reads up to `size` bytes; the count, or -1.
ssize_t readSome(int fd, std::uint8_t* into, std::size_t size, off_t offset) {
    for (;;) {
        const ssize_t n = ::pread(fd, into, size, offset);
        if (n >= 0 || errno != EINTR) return n;
    }
}

}  // namespace

bool FileIo::writeAll(int fd, std::span<const std::uint8_t> bytes, Limit limit, Failure& failure) {
    return writeAt(fd, bytes.data(), bytes.size(), 0, limit, failure) &&
           cutTo(fd, static_cast<off_t>(bytes.size()), failure);
}

bool FileIo::copy(int from, int to, Limit limit, Failure& failure) {
    std::vector<std::uint8_t> buffer(kChunk);
    off_t offset = 0;
    for (;;) {
        const ssize_t n = readSome(from, buffer.data(), buffer.size(), offset);
        if (n < 0) return fail(failure, "read", errno);
        if (n == 0) break;
        if (!writeAt(to, buffer.data(), static_cast<std::size_t>(n), offset, limit, failure)) {
            return false;
        }
        offset += n;
    }
    return cutTo(to, offset, failure);
}

bool FileIo::sameContents(int a, int b) {
    std::vector<std::uint8_t> left(kChunk);
    std::vector<std::uint8_t> right(kChunk);
    for (off_t offset = 0;;) {
        const ssize_t n = readSome(a, left.data(), left.size(), offset);
        const ssize_t m = readSome(b, right.data(), right.size(), offset);
        if (n < 0 || n != m) return false;
        if (n == 0) return true;
        if (std::memcmp(left.data(), right.data(), static_cast<std::size_t>(n)) != 0) return false;
        offset += n;
    }
}

bool FileIo::syncFolder(const std::string& folder, Failure& failure) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return fail(failure, ("open folder " + folder).c_str(), errno);
    const bool ok = ::fsync(fd) == 0 || errno == EINVAL;
    const int errnum = errno;
    ::close(fd);
    return ok || fail(failure, ("sync folder " + folder).c_str(), errnum);
}

}  // namespace tavrel
