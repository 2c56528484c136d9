#include "files/BackupStore.h"

#include "files/FileIo.h"
#include "files/TempFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <system_error>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

// Written once into a folder-named owner's folder: where its files came from.
constexpr const char* kOriginFile = ".origin";
constexpr std::size_t kStampSize = 15;  // YYYYMMDD-HHMMSS

std::string stampOf(std::time_t when) {
    std::tm tm{};
    localtime_r(&when, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y%m%d-%H%M%S", &tm);
    return buf;
}

bool allDigits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The stamp and sequence of a copy's name "<stem>-YYYYMMDD-HHMMSS[-N]<ext>" of `fileName`.
bool parseName(const std::string& name, const fs::path& fileName, BackupStore::Entry& entry) {
    const std::string stem = fileName.stem().string() + '-';
    const std::string ext = fileName.extension().string();
    if (name.size() < stem.size() + kStampSize + ext.size() || !name.starts_with(stem) ||
        !name.ends_with(ext)) {
        return false;
    }
    const std::string rest = name.substr(stem.size(), name.size() - stem.size() - ext.size());
    const std::string_view stamp = std::string_view(rest).substr(0, kStampSize);
    if (!allDigits(stamp.substr(0, 8)) || stamp[8] != '-' || !allDigits(stamp.substr(9))) {
        return false;
    }
    entry.stamp = stamp;
    entry.sequence = 0;
    if (rest.size() == kStampSize) return true;
    const std::string_view seq = std::string_view(rest).substr(kStampSize + 1);
    if (rest[kStampSize] != '-' || !allDigits(seq) || seq.size() > 6) return false;
    entry.sequence = std::atoi(std::string(seq).c_str());
    return true;
}

bool newerFirst(const BackupStore::Entry& a, const BackupStore::Entry& b) {
    return a.stamp != b.stamp ? a.stamp > b.stamp : a.sequence > b.sequence;
}

// FNV-1a: a short, stable tag that tells apart folders of the same name.
std::string tagOf(const std::string& text) {
    std::uint32_t hash = 2166136261u;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    char buf[9];
    std::snprintf(buf, sizeof buf, "%08x", hash);
    return buf;
}

// Characters that make a poor folder name become '_'.
std::string tidy(std::string name) {
    for (char& c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || c == '/' || c == '\\' || u == 0x7F) c = '_';
    }
    if (name.empty() || name.front() == '.') name.insert(name.begin(), '_');
    return name;
}

std::string readOrigin(const fs::path& ownerFolder) {
    std::ifstream in(ownerFolder / kOriginFile);
    std::string line;
    std::getline(in, line);
    return line;
}

// A dated name in `folder` that no copy has yet.
fs::path freshName(const fs::path& folder, const fs::path& fileName, std::time_t now) {
    const std::string base = fileName.stem().string() + '-' + stampOf(now);
    const std::string ext = fileName.extension().string();
    fs::path name = folder / (base + ext);
    std::error_code ec;
    for (int n = 1; fs::exists(name, ec); ++n) {
        std::string numbered = base;
        numbered += '-';
        numbered += std::to_string(n);
        numbered += ext;
        name = folder / numbered;
    }
    return name;
}

}  // namespace

fs::path BackupStore::defaultRoot() {
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

fs::path BackupStore::folderFor(const fs::path& target, const std::string& unitModel) const {
    const fs::path file = tidy(target.filename().string());
    if (!unitModel.empty()) return mRoot / tidy(unitModel) / file;
    std::error_code ec;
    fs::path folder = fs::absolute(target, ec).parent_path().lexically_normal();
    const std::string last = folder.filename().empty() ? "root" : folder.filename().string();
    return mRoot / (tidy(last) + '-' + tagOf(folder.string())) / file;
}

BackupStore::Kept BackupStore::keep(int source, const fs::path& target, const fs::path& folder,
                                    std::time_t now, long long room) const {
    Kept kept;
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) {
        kept.error = "cannot make the backup folder " + folder.string() + ": " + ec.message();
        return kept;
    }
    TempFile::sweep(folder);
    int errnum = 0;
    auto temp = TempFile::besides(folder / target.filename(), kept.error, errnum);
    if (!temp) return kept;
    FileIo::Failure failure;
    if (!FileIo::copy(source, temp->fd(), {room, ENOSPC}, failure)) {
        kept.error = failure.errnum == ENOSPC ? "no room for a backup in " + folder.string()
                                              : std::string("cannot copy the old file");
        kept.error += ": " + failure.what;
        return kept;
    }
    const fs::path name = freshName(folder, target.filename(), now);
    if (temp->sync(0644, kept.error) && temp->renameOver(name, kept.error)) {
        FileIo::syncFolder(folder.string(), failure);
        kept.path = name;
        kept.error.clear();
    }
    return kept;
}

void BackupStore::noteOrigin(const fs::path& folder, const fs::path& target) {
    const fs::path note = folder.parent_path() / kOriginFile;
    std::error_code ec;
    if (fs::exists(note, ec)) return;
    std::ofstream(note) << fs::absolute(target, ec).parent_path().string() << '\n';
}

std::vector<BackupStore::Entry> BackupStore::entriesIn(const fs::path& folder) {
    std::vector<Entry> entries;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        Entry entry;
        if (!it->is_regular_file(ec) ||
            !parseName(it->path().filename().string(), folder.filename(), entry)) {
            continue;
        }
        entry.path = it->path();
        entry.size = it->file_size(ec);
        entries.push_back(std::move(entry));
    }
    std::sort(entries.begin(), entries.end(), newerFirst);
    return entries;
}

void BackupStore::prune(const fs::path& folder, std::time_t now) {
    const std::vector<Entry> entries = entriesIn(folder);
    // Stamps compare as text; a day is its first eight characters.
    const std::string oldestDay =
        stampOf(now - std::time_t{kDaysKept - 1} * 24 * 60 * 60).substr(0, 8);
    std::set<std::string> daysSeen;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::string day = entries[i].stamp.substr(0, 8);
        const bool newestOfItsDay = daysSeen.insert(day).second;
        if (i < kNewestKept || (newestOfItsDay && day >= oldestDay)) continue;
        std::error_code ec;
        fs::remove(entries[i].path, ec);
    }
}

std::vector<BackupStore::Target> BackupStore::list() const {
    std::vector<Target> targets;
    std::error_code ec;
    for (fs::directory_iterator owner(mRoot, ec), end; !ec && owner != end; owner.increment(ec)) {
        if (!owner->is_directory(ec)) continue;
        const std::string origin = readOrigin(owner->path());
        std::error_code inner;
        for (fs::directory_iterator file(owner->path(), inner); !inner && file != end;
             file.increment(inner)) {
            if (!file->is_directory(inner)) continue;
            Target target{owner->path().filename().string(), file->path().filename().string(),
                          origin, entriesIn(file->path())};
            if (!target.entries.empty()) targets.push_back(std::move(target));
        }
    }
    std::sort(targets.begin(), targets.end(), [](const Target& a, const Target& b) {
        return a.owner != b.owner ? a.owner < b.owner : a.fileName < b.fileName;
    });
    return targets;
}

}  // namespace tavrel
