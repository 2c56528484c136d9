#include "files/AtomicFileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <system_error>
#include <vector>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

std::atomic<long long> gFailAfter{-1};

std::string sysError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

std::string stamp() {
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y%m%d-%H%M%S", &tm);
    return buf;
}

// A backup of RHYTHM.QL0 is named RHYTHM-YYYYMMDD-HHMMSS.QL0, with -N added when several are
// made within one second.
bool isBackupOf(const fs::path& candidate, const fs::path& target) {
    if (candidate.extension() != target.extension()) return false;
    const std::string stem = candidate.stem().string();
    const std::string prefix = target.stem().string() + '-';
    if (!stem.starts_with(prefix)) return false;
    const std::string rest = stem.substr(prefix.size());
    // "YYYYMMDD-HHMMSS" then optionally "-N".
    if (rest.size() < 15 || rest[8] != '-') return false;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (i == 8 || (i == 15 && rest[i] == '-' && rest.size() > 16)) continue;
        if (rest[i] < '0' || rest[i] > '9') return false;
    }
    return true;
}

// Copies `target` to a new dated name in the backup folder.
bool keepBackup(const fs::path& target, fs::path& backup, std::string& error) {
    const fs::path folder = AtomicFileWriter::backupFolder();
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) {
        error = "cannot create the backup folder " + folder.string() + ": " + ec.message();
        return false;
    }
    std::string base = target.stem().string();
    base += '-';
    base += stamp();
    const std::string ext = target.extension().string();
    backup = folder / (base + ext);
    for (int n = 1; fs::exists(backup, ec); ++n) {
        std::string numbered = base;
        numbered += '-';
        numbered += std::to_string(n);
        numbered += ext;
        backup = folder / numbered;
    }
    fs::copy_file(target, backup, ec);
    if (ec) {
        error = "cannot keep a backup of " + target.string() + ": " + ec.message();
        return false;
    }
    return true;
}

// Keeps the newest backups of this file, by modification time.
void pruneBackups(const fs::path& target) {
    std::vector<std::pair<fs::file_time_type, fs::path>> mine;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(AtomicFileWriter::backupFolder(), ec)) {
        if (!isBackupOf(e.path(), target)) continue;
        const auto when = fs::last_write_time(e.path(), ec);
        if (!ec) mine.emplace_back(when, e.path());
    }
    if (mine.size() <= AtomicFileWriter::kBackupsKept) return;
    std::sort(mine.begin(), mine.end());
    for (std::size_t i = 0; i + AtomicFileWriter::kBackupsKept < mine.size(); ++i) {
        fs::remove(mine[i].second, ec);
    }
}

bool writeAll(int fd, std::span<const std::uint8_t> bytes, std::string& error) {
    std::size_t done = 0;
    const long long failAfter = gFailAfter.load();
    while (done < bytes.size()) {
        std::size_t chunk = bytes.size() - done;
        if (failAfter >= 0) {
            if (static_cast<long long>(done) >= failAfter) {
                errno = EIO;
                error = sysError("write failed half way");
                return false;
            }
            chunk = std::min(chunk, static_cast<std::size_t>(failAfter) - done);
        }
        const ssize_t n = ::write(fd, bytes.data() + done, chunk);
        if (n < 0) {
            if (errno == EINTR) continue;
            error = sysError("write");
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool syncFolder(const fs::path& folder, std::string& error) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        error = sysError("open folder " + folder.string());
        return false;
    }
    // Some file systems cannot sync a folder; the rename itself has still happened.
    const bool ok = ::fsync(fd) == 0 || errno == EINVAL;
    if (!ok) error = sysError("sync folder " + folder.string());
    ::close(fd);
    return ok;
}

}  // namespace

fs::path AtomicFileWriter::backupFolder() {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    fs::path base;
    if (xdg != nullptr && *xdg == '/') {
        base = xdg;
    } else {
        const char* home = std::getenv("HOME");
        base = fs::path(home != nullptr ? home : "/tmp") / ".local" / "share";
    }
    return base / "tavrel" / "backups";
}

void AtomicFileWriter::failAfterBytesForTesting(long long bytes) {
    gFailAfter.store(bytes);
}

AtomicFileWriter::Result AtomicFileWriter::write(const fs::path& target,
                                                 std::span<const std::uint8_t> bytes) {
    Result r;
    std::error_code ec;
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const bool replacing = fs::exists(target, ec);
    if (ec) {
        r.error = "cannot look at " + target.string() + ": " + ec.message();
        return r;
    }
    if (replacing && !keepBackup(target, r.backup, r.error)) return r;

    std::string name = ".";
    name += target.filename().string();
    name += ".XXXXXX";
    std::string tmpl = (folder / name).string();
    const int fd = ::mkstemp(tmpl.data());
    if (fd < 0) {
        r.error = sysError("create a temporary file in " + folder.string());
        return r;
    }
    const fs::path temp = tmpl;
    bool ok = writeAll(fd, bytes, r.error);
    if (ok && ::fsync(fd) != 0) {
        r.error = sysError("sync " + temp.string());
        ok = false;
    }
    // The replaced file's permissions, or the usual ones for a new file, not mkstemp's 0600.
    if (ok) {
        struct stat st {};
        ::fchmod(fd, ::stat(target.c_str(), &st) == 0 ? (st.st_mode & 07777) : 0644);
    }
    if (::close(fd) != 0 && ok) {
        r.error = sysError("close " + temp.string());
        ok = false;
    }
    if (ok && ::rename(temp.c_str(), target.c_str()) != 0) {
        r.error = sysError("rename over " + target.string());
        ok = false;
    }
    if (!ok) {
        ::unlink(temp.c_str());
        return r;
    }
    r.ok = syncFolder(folder, r.error);
    if (!r.backup.empty()) pruneBackups(target);
    return r;
}

}  // namespace tavrel
