#include "files/CFileDataMgr.h"

#include "files/AtomicFileWriter.h"
#include "files/CPhraseFile.h"
#include "files/PatternFileImage.h"
#include "files/UnitStorage.h"
#include "model/Alerts.h"
#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Log.h"

#include <fstream>
#include <string>
#include <vector>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

// Appended to the unit's data folder by the storage.
constexpr const char* kDataFile = "/RHYTHM.QL0";

constexpr int kMinTempo = 40;
constexpr int kMaxTempo = 350;
constexpr std::size_t kNameLength = 12;

// Found at each call, since the device link comes and goes; none means no volume.
UnitStorage* storage() {
    return Context::current().find<UnitStorage>();
}

// The part of the file that a pattern file can use; anything past its fixed length is never
// looked at, so a huge or endless file costs no more than a real one. Empty when unreadable.
std::vector<std::uint8_t> readHead(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::vector<std::uint8_t> bytes(PatternFileImage::kFileSize);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0)));
    return bytes;
}

bool writeWhole(const fs::path& target, std::span<const std::uint8_t> image) {
    const AtomicFileWriter::Result r = AtomicFileWriter::write(target, image);
    if (!r.ok) Log::line("files", "cannot write " + target.string() + ": " + r.error);
    return r.ok;
}

// Continuation bytes that belong to the UTF-8 sequence led by `lead`, starting at s[i].
std::size_t continuationBytes(const std::string& s, std::size_t i, unsigned char lead) {
    std::size_t expected = 0;
    if (lead >= 0xC0 && lead < 0xF8) expected = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    std::size_t n = 0;
    while (n < expected && i + n < s.size() &&
           (static_cast<unsigned char>(s[i + n]) & 0xC0) == 0x80) {
        ++n;
    }
    return n;
}

// The file's name without folder and extension, as the 12 characters the unit can show: cut,
// padded with spaces, and '?' for each character outside printable ASCII's range (DEL
// included). An accented letter is one character however many UTF-8 bytes it takes; a byte
// that belongs to no sequence counts as one character of its own.
std::string patternNameFor(const fs::path& path) {
    const std::string stem = path.stem().string();
    std::string name;
    for (std::size_t i = 0; i < stem.size() && name.size() < kNameLength;) {
        const auto byte = static_cast<unsigned char>(stem[i++]);
        if (byte < 0x7F) {
            name += static_cast<char>(byte);
        } else {
            name += '?';
            i += continuationBytes(stem, i, byte);
        }
    }
    name.resize(kNameLength, ' ');
    return name;
}

// An unreadable file is reported; a file of several tracks is loaded only when the user
// agrees to have them merged. A header the reader refuses goes on without a word: each
// variation's own read fails and the pattern keeps its empty variations.
bool mayLoad(const fs::path& path) {
    CPhraseFile reader;
    const int tracks = reader.checkSmf(path);
    Alerts* alerts = Context::current().find<Alerts>();
    if (tracks < 0) {
        if (alerts != nullptr) alerts->alert("Load MIDI File.", "Format error.");
        return false;
    }
    if (tracks > 1)
        return alerts != nullptr && alerts->ask("SMF Format 1", "Merge all tracks.", "OK");
    return true;
}

void takeTempoOf(CPtnDataMgr& pattern, const CPhraseData& intro) {
    pattern.setTempo(intro.getTempo());
    // A file without a Set Tempo event reads as tempo 0 and so plays at the slowest tempo.
    if (pattern.getTempo() < kMinTempo) {
        pattern.setTempo(kMinTempo);
    } else if (pattern.getTempo() > kMaxTempo) {
        pattern.setTempo(kMaxTempo);
    }
}

}  // namespace

bool CFileDataMgr::loadData() {
    UnitStorage* unit = storage();
    const auto bytes = unit != nullptr ? unit->getFileData(kDataFile) : std::nullopt;
    return bytes && loadDataFrom(*bytes);
}

bool CFileDataMgr::loadDataFrom(std::span<const std::uint8_t> file) {
    return PatternFileImage::read(file, PatternFileImage::kUnitRules);
}

bool CFileDataMgr::saveData() {
    const auto image = PatternFileImage::write();
    if (image.empty()) return true;
    UnitStorage* unit = storage();
    const auto url = unit != nullptr ? unit->getFileURL(kDataFile) : std::nullopt;
    if (!url || !writeWhole(*url, image)) return false;
    CEditNotify::clr();
    return true;
}

bool CFileDataMgr::IsVolumeExist() {
    UnitStorage* unit = storage();
    return unit != nullptr && unit->isVolumeExist();
}

bool CFileDataMgr::IsDataFileExist() {
    UnitStorage* unit = storage();
    return unit != nullptr && unit->isDataFileExist(kDataFile);
}

bool CFileDataMgr::exportData(const fs::path& path) {
    const auto image = PatternFileImage::write();
    return image.empty() || writeWhole(path, image);
}

bool CFileDataMgr::importData(const fs::path& path) {
    return PatternFileImage::read(readHead(path), PatternFileImage::kImportRules);
}

bool CFileDataMgr::loadSmf(const fs::path& path) {
    if (!mayLoad(path)) return false;
    CPatternMgr& patterns = Context::current().patterns();
    const auto pattern = patterns.addPatternData();
    // Each variation reads the file through its own reader.
    for (int v = 0; v < kVariationCount; ++v) {
        pattern->getPhraseAtVariation(v)->setFileName(path.string());
    }
    const auto intro = pattern->getPhraseAtVariation(0);
    if (intro->getTotalBars() < 1) {
        patterns.removePatternData();  // the one just added, still current
        return false;
    }
    for (int fill : {2, 4, 6, 8}) pattern->getPhraseAtVariation(fill)->setBars(1);
    pattern->setName(patternNameFor(path));
    // The reader knows no time signature: the notes are counted in 4/4.
    pattern->setDeno(intro->getDeno());
    pattern->setNume(intro->getNume());
    takeTempoOf(*pattern, *intro);
    pattern->setKitNum(0);
    patterns.setCurVariationNum(0);
    return true;
}

}  // namespace tavrel
