#include "files/AtomicFileWriter.h"

#include "files/BackupStore.h"
#include "files/FileIo.h"
#include "files/TempFile.h"
#include "model/Log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <mutex>
#include <optional>
#include <system_error>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

std::mutex gFaultsMutex;
AtomicFileWriter::Faults gFaults;

AtomicFileWriter::Faults faults() {
    const std::lock_guard lock(gFaultsMutex);
    return gFaults;
}

// Symbolic links give way to the file they point to, however many there are in a row; a loop
// stops after as many links as the kernel follows.
fs::path destinationOf(const fs::path& target) {
    fs::path path = target;
    std::error_code ec;
    for (int hops = 0; hops < 40 && fs::is_symlink(path, ec); ++hops) {
        const fs::path link = fs::read_symlink(path, ec);
        if (ec) break;
        path = link.is_absolute() ? link : path.parent_path() / link;
    }
    return path.lexically_normal();
}

bool isNoRoom(int errnum) {
    return errnum == ENOSPC || errnum == EDQUOT;
}

// An open file descriptor that closes itself.
class Fd {
public:
    explicit Fd(int fd) : mFd(fd) {}
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd() {
        if (mFd >= 0) ::close(mFd);
    }
    int get() const { return mFd; }
    explicit operator bool() const { return mFd >= 0; }

private:
    int mFd;
};

// One write: the target, its old file and where its backups go.
class Replacement {
public:
    Replacement(const fs::path& target, std::span<const std::uint8_t> bytes,
                const std::string& unitModel)
        : mBytes(bytes), mFaults(faults()), mNow(std::time(nullptr)) {
        mReport.target = destinationOf(target);
        mBackupFolder = mStore.folderFor(mReport.target, unitModel);
        mNoteOrigin = unitModel.empty();
    }

    WriteReport run();

private:
    const fs::path& target() const { return mReport.target; }
    fs::path folder() const {
        return target().has_parent_path() ? target().parent_path() : fs::path(".");
    }
    bool fail(std::string error) {
        mReport.error = std::move(error);
        return false;
    }
    // The new bytes in a synced temporary beside the target; nothing when that failed, with
    // mNoRoom telling whether the device was full.
    std::optional<TempFile> writeBeside();
    // Copies the old file to its backup; false, with the reason in the report, when none.
    bool keepBackup();
    bool backupMatches() const;
    void dropBackup();
    bool renameIntoPlace(TempFile& temp);
    bool writeInPlace();
    bool restoreFromBackup(int fd);

    std::span<const std::uint8_t> mBytes;
    AtomicFileWriter::Faults mFaults;
    BackupStore mStore;
    std::time_t mNow;
    fs::path mBackupFolder;
    WriteReport mReport;
    unsigned mMode = 0644;
    // Other files only: the unit's volume is mounted wherever the desktop puts it.
    bool mNoteOrigin = false;
    long long mOldSize = 0;
    bool mNoRoom = false;
};

std::optional<TempFile> Replacement::writeBeside() {
    std::string error;
    int errnum = 0;
    auto temp = TempFile::besides(target(), error, errnum);
    if (!temp) {
        mNoRoom = isNoRoom(errnum);
        fail(error);
        return std::nullopt;
    }
    FileIo::Limit limit;
    if (mFaults.roomBeside >= 0) limit = {mFaults.roomBeside, ENOSPC};
    if (mFaults.failAfterBytes >= 0) limit = {mFaults.failAfterBytes, EIO};
    FileIo::Failure failure;
    if (!FileIo::writeAll(temp->fd(), mBytes, limit, failure)) {
        mNoRoom = isNoRoom(failure.errnum);
        fail("cannot write " + temp->path().string() + ": " + failure.what);
        return std::nullopt;
    }
    if (!temp->sync(mMode, error)) {
        mNoRoom = isNoRoom(temp->errorNumber());
        fail(error);
        return std::nullopt;
    }
    return temp;
}

bool Replacement::keepBackup() {
    const Fd old(::open(target().c_str(), O_RDONLY | O_CLOEXEC));
    if (!old) {
        mReport.noBackup = "cannot read the old file: " + std::string(std::strerror(errno));
        return false;
    }
    const BackupStore::Kept kept =
        mStore.keep(old.get(), target(), mBackupFolder, mNow, mFaults.roomForBackup);
    mReport.backup = kept.path;
    mReport.noBackup = kept.error;
    if (mNoteOrigin && !kept.path.empty()) BackupStore::noteOrigin(mBackupFolder, target());
    return !kept.path.empty();
}

bool Replacement::backupMatches() const {
    const Fd old(::open(target().c_str(), O_RDONLY | O_CLOEXEC));
    const Fd copy(::open(mReport.backup.c_str(), O_RDONLY | O_CLOEXEC));
    return old && copy && FileIo::sameContents(old.get(), copy.get());
}

void Replacement::dropBackup() {
    if (mReport.backup.empty()) return;
    std::error_code ec;
    fs::remove(mReport.backup, ec);
    mReport.backup.clear();
}

bool Replacement::renameIntoPlace(TempFile& temp) {
    std::string error;
    if (!temp.renameOver(target(), error)) {
        dropBackup();
        return fail(error);
    }
    FileIo::Failure failure;
    if (mFaults.folderSyncFails) failure = {"sync folder " + folder().string(), EIO};
    if (mFaults.folderSyncFails || !FileIo::syncFolder(folder().string(), failure)) {
        // The rename has happened: the new file is what readers now see.
        mReport.warning =
            "the file was replaced, but its folder could not be synced (" + failure.what + ")";
        Log::line("files", target().string() + ": " + mReport.warning);
    }
    return true;
}

// The old file's bytes are in a backup read back equal; a failure half way puts them back.
bool Replacement::writeInPlace() {
    const Fd fd(::open(target().c_str(), O_WRONLY | O_CLOEXEC));
    FileIo::Failure failure;
    if (!fd) return fail("cannot open " + target().string() + ": " + std::strerror(errno));
    // Only what grows the file needs room on the device.
    FileIo::Limit limit;
    if (mFaults.roomBeside >= 0) limit = {mOldSize + mFaults.roomBeside, ENOSPC};
    if (FileIo::writeAll(fd.get(), mBytes, limit, failure) && ::fsync(fd.get()) == 0) {
        mReport.inPlace = true;
        Log::line("files", target().string() + ": no room for a temporary copy; written in place");
        return true;
    }
    const std::string what =
        "cannot write " + target().string() +
        " in place: " + (failure.what.empty() ? std::string(std::strerror(errno)) : failure.what);
    if (!restoreFromBackup(fd.get())) {
        return fail(what + "; the old file is kept at " + mReport.backup.string());
    }
    // The old file is whole again, so the attempt leaves no copy behind.
    dropBackup();
    return fail(what + "; the old file was put back");
}

bool Replacement::restoreFromBackup(int fd) {
    const Fd backup(::open(mReport.backup.c_str(), O_RDONLY | O_CLOEXEC));
    FileIo::Failure failure;
    return backup && FileIo::copy(backup.get(), fd, {}, failure) && ::fsync(fd) == 0 &&
           backupMatches();
}

WriteReport Replacement::run() {
    std::error_code ec;
    mReport.replaced = fs::exists(target(), ec);
    if (ec) {
        fail("cannot look at " + target().string() + ": " + ec.message());
        return mReport;
    }
    // The replaced file's permissions, or the usual ones for a new file, not mkstemp's 0600.
    struct stat st {};
    if (mReport.replaced && ::stat(target().c_str(), &st) == 0) {
        mMode = st.st_mode & 07777;
        mOldSize = st.st_size;
    }
    TempFile::sweep(folder());

    std::optional<TempFile> temp = writeBeside();
    if (temp) {
        if (mReport.replaced) keepBackup();
        mReport.ok = renameIntoPlace(*temp);
    } else if (mNoRoom && mReport.replaced) {
        const std::string noRoom = mReport.error;
        mReport.error.clear();
        if (keepBackup() && backupMatches()) {
            mReport.ok = writeInPlace();
        } else {
            dropBackup();
            fail(noRoom + "; not written in place without a verified backup (" +
                 (mReport.noBackup.empty() ? "the backup differs" : mReport.noBackup) + ")");
        }
    }
    if (mReport.ok && !mReport.backup.empty()) BackupStore::prune(mBackupFolder, mNow);
    return mReport;
}

}  // namespace

void AtomicFileWriter::setFaultsForTesting(const Faults& newFaults) {
    const std::lock_guard lock(gFaultsMutex);
    gFaults = newFaults;
}

void AtomicFileWriter::failAfterBytesForTesting(long long bytes) {
    const std::lock_guard lock(gFaultsMutex);
    gFaults.failAfterBytes = bytes;
}

WriteReport AtomicFileWriter::write(const fs::path& target, std::span<const std::uint8_t> bytes,
                                    const std::string& unitModel) {
    return Replacement(target, bytes, unitModel).run();
}

}  // namespace tavrel
