#include "files/CFileDataMgr.h"

#include "files/AtomicFileWriter.h"
#include "files/PatternFileImage.h"
#include "files/UnitStorage.h"
#include "model/Alerts.h"
#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Limits.h"
#include "model/Log.h"
#include "smf/CPhraseFile.h"
#include "smf/FileContents.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

// Appended to the unit's data folder by the storage.
constexpr const char* kDataFile = "/RHYTHM.QL0";

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

// Saves run on the main thread or an apply worker while the user interface may ask.
std::mutex gReportMutex;
WriteReport gLastReport;

bool remember(WriteReport report) {
    if (!report.ok)
        Log::line("files", "cannot write " + report.target.string() + ": " + report.error);
    const bool ok = report.ok;
    const std::lock_guard lock(gReportMutex);
    gLastReport = std::move(report);
    return ok;
}

bool writeWhole(const fs::path& target, std::span<const std::uint8_t> image,
                const std::string& unitModel = {}) {
    return remember(AtomicFileWriter::write(target, image, unitModel));
}

// The file image of `patterns`, written over the bytes of the collection's last pattern file,
// which then are these.
std::vector<std::uint8_t> encode(const PatternSnapshot& patterns) {
    std::vector<std::uint8_t> file;
    const auto write = [&](std::vector<std::uint8_t>& retained) {
        PatternFileImage image(std::move(retained));
        image.write(patterns.patterns());
        retained = image.bytes();
        file = image.bytes();
    };
    if (patterns.retained()) {
        patterns.retained()->update(write);
    } else {
        std::vector<std::uint8_t> fresh;
        write(fresh);
    }
    return file;
}

// Notes first: they reset the window, against which from and bars are then clamped. The
// stored total bars are not read; the notes give them again.
void readVariation(const PatternSnapshot::Pattern& stored, int v, CPhraseData& phrase,
                   PatternFileImage::ReadRules rules,
                   const std::shared_ptr<const CPhraseFile>& noFile) {
    const PatternSnapshot::Variation& entry = stored.variations[static_cast<std::size_t>(v)];
    const StepRecords& area = *stored.notes;
    const std::size_t n = std::min(
        {static_cast<std::size_t>(entry.recordCount), std::size_t{rules.maxRecords}, area.size()});
    phrase.setSeqData(n == area.size() ? stored.notes
                                       : std::make_shared<const StepRecords>(
                                             area.begin(), area.begin() + static_cast<long>(n)));
    phrase.setFrom(entry.from);
    phrase.setBars(entry.bars);
    // Marks the variation as coming from the unit rather than from a MIDI file. "USER" names
    // no file: the variation keeps its notes and holds a reader that loaded nothing.
    phrase.setFileName("USER", noFile);
    if (rules.fillsOneBar && (v == 2 || v == 4 || v == 6)) phrase.setBars(1);
}

void readPattern(const PatternSnapshot::Pattern& stored, CPtnDataMgr& pattern,
                 PatternFileImage::ReadRules rules,
                 const std::shared_ptr<const CPhraseFile>& noFile) {
    pattern.setName(stored.name);
    pattern.setKitNum(stored.kit);
    pattern.setTempo(stored.tempo);
    pattern.setNume(stored.numerator);
    pattern.setDeno(stored.denominator);
    for (int v = 0; v < kVariationCount; ++v) {
        readVariation(stored, v, *pattern.getPhraseAtVariation(v), rules, noFile);
    }
}

// Replaces the collection by the patterns of `file`; one change notification in all.
bool readFile(std::span<const std::uint8_t> file, PatternFileImage::ReadRules rules,
              std::string* warning) {
    if (!PatternFileImage::isPatternFile(file)) return false;
    PatternFileImage image(
        std::vector<std::uint8_t>(file.begin(), file.begin() + PatternFileImage::kFileSize));
    const PatternFileImage::Contents contents = image.read();
    if (!contents.warning.empty()) {
        Log::line("files", "pattern file: " + contents.warning);
        if (warning != nullptr) *warning = contents.warning;
    }
    CPatternMgr& patterns = Context::current().patterns();
    CPatternMgr::Batch batch(patterns);
    patterns.clearAllPtnData();
    patterns.fileImage()->keep(image.bytes());
    const auto noFile = std::make_shared<const CPhraseFile>();
    for (const auto& stored : contents.patterns) {
        readPattern(stored, *patterns.addPatternData(), rules, noFile);
    }
    patterns.setCurPatternNum(0);
    if (const auto current = patterns.getCurPattarn()) current->setCurVariationNum(0);
    patterns.setActive();
    return true;
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
    for (std::size_t i = 0; i < stem.size() && name.size() < limits::kPatternNameLength;) {
        const auto byte = static_cast<unsigned char>(stem[i++]);
        if (byte < 0x7F) {
            name += static_cast<char>(byte);
        } else {
            name += '?';
            i += continuationBytes(stem, i, byte);
        }
    }
    name.resize(limits::kPatternNameLength, ' ');
    return name;
}

// A file that cannot be read gets the loader's "Format error." and then the reason; a file of
// several tracks is loaded only when the user agrees to have them merged. A header the reader
// refuses goes on without a word: the variations get nothing from the file and the pattern keeps
// them empty.
bool mayLoad(const smf::FileContents& file, int tracks) {
    Alerts* alerts = Context::current().find<Alerts>();
    if (!file.ok()) {
        if (alerts != nullptr) {
            alerts->alert("Load MIDI File.", "Format error. The file " + file.error() + ".");
        }
        return false;
    }
    if (tracks > 1)
        return alerts != nullptr && alerts->ask("SMF Format 1", "Merge all tracks.", "OK");
    return true;
}

void takeTempoOf(CPtnDataMgr& pattern, const CPhraseData& intro) {
    pattern.setTempo(intro.getTempo());
    // A file without a Set Tempo event reads as tempo 0 and so plays at the slowest tempo.
    pattern.setTempo(std::clamp(pattern.getTempo(), limits::kMinTempo, limits::kMaxTempo));
}

}  // namespace

bool CFileDataMgr::loadData() {
    UnitStorage* unit = storage();
    const auto bytes = unit != nullptr ? unit->getFileData(kDataFile) : std::nullopt;
    return bytes && loadDataFrom(*bytes);
}

bool CFileDataMgr::loadDataFrom(std::span<const std::uint8_t> file) {
    return readFile(file, PatternFileImage::kUnitRules, nullptr);
}

PatternSnapshot CFileDataMgr::snapshot() {
    return PatternSnapshot::of(Context::current().patterns());
}

bool CFileDataMgr::saveSnapshot(const PatternSnapshot& patterns) {
    if (patterns.empty()) return true;
    UnitStorage* unit = storage();
    const auto url = unit != nullptr ? unit->getFileURL(kDataFile) : std::nullopt;
    if (!url)
        return remember(WriteReport::failed(kDataFile + 1, "the unit's storage is not known"));
    return writeWhole(*url, encode(patterns), unit->unitModelName());
}

bool CFileDataMgr::saveData() {
    const PatternSnapshot patterns = snapshot();
    if (patterns.empty()) return true;  // the mark stays: nothing was saved
    if (!saveSnapshot(patterns)) return false;
    CEditNotify::clr();
    return true;
}

WriteReport CFileDataMgr::lastWriteReport() {
    const std::lock_guard lock(gReportMutex);
    return gLastReport;
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
    const PatternSnapshot patterns = snapshot();
    return patterns.empty() || writeWhole(path, encode(patterns));
}

bool CFileDataMgr::importData(const fs::path& path, std::string* warning) {
    return readFile(readHead(path), PatternFileImage::kImportRules, warning);
}

bool CFileDataMgr::loadSmf(const fs::path& path) {
    return loadSmf(path, smf::FileContents::read(path));
}

bool CFileDataMgr::loadSmf(const fs::path& path, const smf::FileContents& file) {
    auto reader = std::make_shared<CPhraseFile>();
    const int tracks = file.ok() ? reader->checkSmfBytes(file.bytes()) : -1;
    if (!mayLoad(file, tracks)) return false;
    reader->loadSmfBytes(file.bytes());
    const std::shared_ptr<const CPhraseFile> parsed = std::move(reader);

    CPatternMgr& patterns = Context::current().patterns();
    CPatternMgr::Batch batch(patterns);
    const auto pattern = patterns.addPatternData();
    for (int v = 0; v < kVariationCount; ++v) {
        pattern->getPhraseAtVariation(v)->setFileName(path.string(), parsed);
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
    PatternChange added{PatternChange::Kind::Inserted};
    added.pattern = patterns.rowOf(pattern.get());
    batch.setSummary(added);
    return true;
}

}  // namespace tavrel
