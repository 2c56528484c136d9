// A temporary file made beside the file it will replace, so that a rename puts it in place.
// It is locked (flock) for as long as it is open: a sweep of the folder can then tell a
// temporary of a write still going from one left by a process that died mid-write, whose lock
// the kernel dropped with it. Unless renamed into place, it is removed when it goes.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tavrel {

class TempFile {
public:
    // A new empty file named ".NAME.tavrel-XXXXXX" in the folder of `target`. Nothing, with
    // `error` saying why and `errnum` the system's error number, when it cannot be made.
    static std::optional<TempFile> besides(const std::filesystem::path& target, std::string& error,
                                           int& errnum);
    // Removes the temporaries of earlier writes into `folder` whose writer is gone. A file that
    // another process made and has not locked yet may go too; its rename then fails and that
    // write reports failure with its old file as it was.
    static void sweep(const std::filesystem::path& folder);

    TempFile(TempFile&& other) noexcept;
    TempFile& operator=(TempFile&&) = delete;
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    ~TempFile();

    int fd() const { return mFd; }
    const std::filesystem::path& path() const { return mPath; }

    // fsync, then the mode given; false with `error` set and errorNumber() the reason.
    bool sync(unsigned mode, std::string& error);
    int errorNumber() const { return mErrno; }
    // Renames the file over `target`; on success it is no longer removed when this goes.
    bool renameOver(const std::filesystem::path& target, std::string& error);

private:
    TempFile(int fd, std::filesystem::path path) : mFd(fd), mPath(std::move(path)) {}

    int mFd = -1;
    std::filesystem::path mPath;
    bool mRenamed = false;
    int mErrno = 0;
};

}  // namespace tavrel
