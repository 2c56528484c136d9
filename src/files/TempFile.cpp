#include "files/TempFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kMark = ".tavrel-";
constexpr std::size_t kUniquePart = 6;  // mkstemp's XXXXXX

bool isTemporaryName(const std::string& name) {
    if (name.size() < 1 + kMark.size() + kUniquePart || name.front() != '.') return false;
    return name.compare(name.size() - kUniquePart - kMark.size(), kMark.size(), kMark) == 0;
}

// Removes `path` when it is an unlocked regular file, checked on the file that was opened so
// that a name reused meanwhile is not removed instead.
void removeIfAbandoned(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return;
    struct stat opened {};
    struct stat named {};
    if (::fstat(fd, &opened) == 0 && S_ISREG(opened.st_mode) &&
        ::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::lstat(path.c_str(), &named) == 0 &&
        named.st_ino == opened.st_ino && named.st_dev == opened.st_dev) {
        ::unlink(path.c_str());
    }
    ::close(fd);
}

}  // namespace

std::optional<TempFile> TempFile::besides(const fs::path& target, std::string& error, int& errnum) {
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::string name = (folder / ("." + target.filename().string())).string();
    name += kMark;
    name += std::string(kUniquePart, 'X');
    const int fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0) {
        errnum = errno;
        error =
            "cannot create a temporary file in " + folder.string() + ": " + std::strerror(errnum);
        return std::nullopt;
    }
    // Nobody else knows the name yet, so the lock cannot be refused.
    ::flock(fd, LOCK_EX);
    return TempFile(fd, name);
}

void TempFile::sweep(const fs::path& folder) {
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        if (isTemporaryName(it->path().filename().string())) removeIfAbandoned(it->path());
    }
}

TempFile::TempFile(TempFile&& other) noexcept
    : mFd(std::exchange(other.mFd, -1)),
      mPath(std::move(other.mPath)),
      mRenamed(std::exchange(other.mRenamed, true)),
      mErrno(other.mErrno) {}

TempFile::~TempFile() {
    if (mFd < 0) return;
    if (!mRenamed) ::unlink(mPath.c_str());
    ::close(mFd);
}

bool TempFile::sync(unsigned mode, std::string& error) {
    if (::fsync(mFd) != 0) {
        mErrno = errno;
        error = "cannot sync " + mPath.string() + ": " + std::strerror(mErrno);
        return false;
    }
    ::fchmod(mFd, mode);
    return true;
}

bool TempFile::renameOver(const fs::path& target, std::string& error) {
    if (::rename(mPath.c_str(), target.c_str()) != 0) {
        error = "cannot rename " + mPath.filename().string() + " over " + target.string() + ": " +
                std::strerror(errno);
        return false;
    }
    mRenamed = true;
    return true;
}

}  // namespace tavrel
