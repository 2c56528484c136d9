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

// Copies `target` to a new dated name in the backup folder; names sort by age.
bool keepBackup(const fs::path& target, fs::path& backup, std::string& error) {
    const fs::path folder = AtomicFileWriter::backupFolder();
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) {
        error = "cannot create the backup folder " + folder.string() + ": " + ec.message();
        return false;
    }
    const std::string base = target.stem().string() + "-" + stamp();
    backup = folder / (base + target.extension().string());
    for (int n = 1; fs::exists(backup, ec); ++n) {
        backup = folder / (base + "-" + std::to_string(n) + target.extension().string());
    }
    fs::copy_file(target, backup, ec);
    if (ec) {
        error = "cannot keep a backup of " + target.string() + ": " + ec.message();
        return false;
    }
    return true;
}

void pruneBackups(const fs::path& target) {
    const std::string prefix = target.stem().string() + "-";
    const std::string ext = target.extension().string();
    std::vector<fs::path> mine;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(AtomicFileWriter::backupFolder(), ec)) {
        const std::string name = e.path().filename().string();
        if (name.starts_with(prefix) && e.path().extension() == ext) mine.push_back(e.path());
    }
    if (mine.size() <= AtomicFileWriter::kBackupsKept) return;
    std::sort(mine.begin(), mine.end());
    for (std::size_t i = 0; i + AtomicFileWriter::kBackupsKept < mine.size(); ++i) {
        fs::remove(mine[i], ec);
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
    if (fs::exists(target, ec) && !keepBackup(target, r.backup, r.error)) return r;

    std::string tmpl = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
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
