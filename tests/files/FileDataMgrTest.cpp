#include "files/AtomicFileWriter.h"
#include "files/CFileDataMgr.h"
#include "files/PatternFileImage.h"
#include "model/CEditNotify.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "support/NotificationRecorder.h"

#include <sys/fsuid.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "PatternFileFixture.h"

namespace tavrel {
namespace {

namespace fs = std::filesystem;

using test::FileBytes;
using test::readBytes;
using test::writeBytes;
using Image = PatternFileImage;

constexpr std::size_t kSlotCountAt = 8;

// Distinct notes, each a quarter note after the one before.
StepRecords quarters(std::size_t n, std::uint8_t firstNote = 35) {
    StepRecords r(n);
    for (std::size_t i = 0; i < n; ++i) {
        r[i] = {96, static_cast<std::uint8_t>(firstNote + i % 40),
                static_cast<std::uint8_t>(1 + i % 127)};
    }
    return r;
}

void setNotes(CPhraseData& phrase, const StepRecords& notes) {
    phrase.setSeqData(notes.data(), static_cast<std::int32_t>(notes.size()));
}

StepRecords notesOf(const CPhraseData& phrase) {
    return phrase.getSeqData() ? *phrase.getSeqData() : StepRecords{};
}

// (from, bars) of every variation.
std::vector<std::pair<int, int>> windowsOf(const CPtnDataMgr& pattern) {
    std::vector<std::pair<int, int>> w;
    for (int v = 0; v < kVariationCount; ++v) {
        w.emplace_back(pattern.getPhraseAtVariation(v)->getFrom(),
                       pattern.getPhraseAtVariation(v)->getBars());
    }
    return w;
}

std::size_t slotAt(std::size_t p) {
    return Image::kHeaderSize + p * Image::kSlotSize;
}

std::uint32_t le(const FileBytes& b, std::size_t at, int width) {
    std::uint32_t v = 0;
    for (int i = width - 1; i >= 0; --i) v = (v << 8) | b[at + static_cast<std::size_t>(i)];
    return v;
}

FileBytes patternFile(std::uint32_t usedBytes) {
    FileBytes b(Image::kFileSize, 0);
    std::memcpy(b.data(), "PTN_0000", 8);
    for (int i = 0; i < 4; ++i)
        b[kSlotCountAt + i] = static_cast<std::uint8_t>(usedBytes >> (8 * i));
    return b;
}

class FileDataMgrTest : public test::PatternFileFixture {
protected:
    std::shared_ptr<CPtnDataMgr> addPattern(const std::string& name, const StepRecords& notes) {
        auto p = patterns().addPatternData();
        p->setName(name);
        for (int v = 0; v < kVariationCount; ++v) setNotes(*p->getPhraseAtVariation(v), notes);
        return p;
    }

    struct Snapshot {
        CPatternMgr::PatternList list;
        bool active;
        std::int32_t current;
        bool operator==(const Snapshot&) const = default;
    };
    Snapshot snapshot() {
        return {patterns().getPtnData(), patterns().getActive(), patterns().getCurPattarnNum()};
    }
};

TEST_F(FileDataMgrTest, SavesTheWorkedExampleByteForByte) {
    auto rock = addPattern("ROCK", quarters(120));
    rock->setKitNum(5);
    rock->setTempo(100);
    rock->setNume(3);
    ASSERT_TRUE(CEditNotify::isEdited());

    ASSERT_TRUE(CFileDataMgr::saveData());
    EXPECT_FALSE(CEditNotify::isEdited());
    const FileBytes f = readBytes(unitFile());
    ASSERT_EQ(f.size(), 2009212u);
    EXPECT_EQ(std::string(f.begin(), f.begin() + 8), "PTN_0000");
    EXPECT_EQ(FileBytes(f.begin() + 8, f.begin() + 12), (FileBytes{0xF8, 0x9C, 0x00, 0x00}));
    const std::size_t s = slotAt(0);
    EXPECT_EQ(std::string(f.begin() + s, f.begin() + s + 13), std::string("ROCK        \0", 13));
    EXPECT_EQ(FileBytes(f.begin() + s + 16, f.begin() + s + 22),
              (FileBytes{0x05, 0x00, 0x64, 0x00, 0x03, 0x04}));
    for (std::size_t v = 0; v < 10; ++v) {
        const std::size_t entry = s + 24 + 16 * v;
        EXPECT_EQ(le(f, entry + 12, 2), 120u) << "variation " << v;
        EXPECT_EQ(le(f, entry + 4, 2), 30u) << "120 quarters are 30 bars of 4/4";
    }
    // The first and the last record of the Intro, then nothing.
    EXPECT_EQ(FileBytes(f.begin() + s + 184, f.begin() + s + 188), (FileBytes{96, 0, 35, 1}));
    EXPECT_EQ(le(f, s + 184 + 119 * 4, 4), 0x784A'0060u);  // delta 96, note 35 + 39, velocity 120
    EXPECT_EQ(le(f, s + 184 + 120 * 4, 4), 0u);
}

TEST_F(FileDataMgrTest, AnEmptyCollectionWritesNothing) {
    const FileBytes before = {1, 2, 3};
    writeBytes(unitFile(), before);
    EXPECT_TRUE(CFileDataMgr::saveData());
    EXPECT_EQ(readBytes(unitFile()), before);
    EXPECT_TRUE(CFileDataMgr::exportData(dir / "empty.QL0"));
    EXPECT_FALSE(fs::exists(dir / "empty.QL0"));
}

TEST_F(FileDataMgrTest, WritesTheFirstFiftyPatternsOnly) {
    for (int i = 0; i < 60; ++i) addPattern("P" + std::to_string(i), quarters(4));
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "sixty.QL0"));
    const FileBytes f = readBytes(dir / "sixty.QL0");
    ASSERT_EQ(f.size(), Image::kFileSize);
    EXPECT_EQ(le(f, kSlotCountAt, 4), 50u * 40184u);
    EXPECT_EQ(std::string(f.begin() + slotAt(49), f.begin() + slotAt(49) + 3), "P49");

    ASSERT_TRUE(CFileDataMgr::importData(dir / "sixty.QL0"));
    ASSERT_EQ(patternCount(), 50u);
    EXPECT_EQ(patterns().getPtnData().back()->getName(), "P49         ");
}

TEST_F(FileDataMgrTest, RecordsAreCutToTenThousandWrittenAndToWhatEachReaderTakes) {
    const StepRecords many = quarters(12000);
    addPattern("MANY", many);
    ASSERT_TRUE(CFileDataMgr::saveData());
    const FileBytes f = readBytes(unitFile());
    EXPECT_EQ(le(f, slotAt(0) + 24 + 12, 2), 10000u);
    const StepRecord last = many[9999];
    EXPECT_EQ(le(f, slotAt(0) + 184 + 9999 * 4, 4),
              last.delta | std::uint32_t{last.note} << 16 | std::uint32_t{last.velocity} << 24)
        << "the 10,000th record is written";
    EXPECT_EQ(le(f, slotAt(1), 4), 0u) << "the 10,001st is not, it would run into slot 1";

    const StepRecords first10000(many.begin(), many.begin() + 10000);
    ASSERT_TRUE(CFileDataMgr::loadData());
    const StepRecords unitNotes = notesOf(*patterns().getPtnData()[0]->getPhraseAtVariation(9));
    EXPECT_EQ(unitNotes, StepRecords(many.begin(), many.begin() + 9999));
    ASSERT_TRUE(CFileDataMgr::importData(unitFile()));
    EXPECT_EQ(notesOf(*patterns().getPtnData()[0]->getPhraseAtVariation(9)), first10000);
}

TEST_F(FileDataMgrTest, StoredCountsBeyondTheNoteAreaAreNotBelieved) {
    FileBytes f = patternFile(40184);
    const std::size_t count = slotAt(0) + 24 + 12;
    f[count] = 0xFF;
    f[count + 1] = 0xFF;
    writeBytes(dir / "greedy.QL0", f);
    ASSERT_TRUE(CFileDataMgr::importData(dir / "greedy.QL0"));
    EXPECT_EQ(patterns().getPtnData()[0]->getPhraseAtVariation(0)->getSeqDataCount(), 10000);
    writeBytes(unitFile(), f);
    ASSERT_TRUE(CFileDataMgr::loadData());
    EXPECT_EQ(patterns().getPtnData()[0]->getPhraseAtVariation(0)->getSeqDataCount(), 9999);
}

TEST_F(FileDataMgrTest, FilesThatAreNotPatternFilesLeaveTheCollectionAlone) {
    addPattern("KEEP", quarters(8));
    const Snapshot before = snapshot();
    test::NotificationRecorder seen;

    FileBytes wrongMagic = patternFile(40184);
    wrongMagic[7] = '1';
    FileBytes shortFile = patternFile(40184);
    shortFile.pop_back();
    const std::vector<FileBytes> bad = {wrongMagic, shortFile, FileBytes(8, 'P'), {}};
    for (std::size_t i = 0; i < bad.size(); ++i) {
        writeBytes(dir / "bad.QL0", bad[i]);
        EXPECT_FALSE(CFileDataMgr::importData(dir / "bad.QL0")) << "case " << i;
        writeBytes(unitFile(), bad[i]);
        EXPECT_FALSE(CFileDataMgr::loadData()) << "case " << i;
    }
    EXPECT_FALSE(CFileDataMgr::importData(dir / "missing.QL0"));
    EXPECT_FALSE(CFileDataMgr::importData(dir));
    writeBytes(unitFile(), patternFile(40184));
    unit->mounted = false;
    EXPECT_FALSE(CFileDataMgr::loadData());

    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(seen.total(), 0);
}

TEST_F(FileDataMgrTest, TheHeaderCountIsBoundedToTheFiftySlots) {
    const std::vector<std::pair<std::uint32_t, std::size_t>> cases = {
        {0, 0}, {40183, 0}, {3 * 40184 + 7, 3}, {51 * 40184, 50}, {0xFFFFFFFF, 50}};
    for (const auto& [used, expected] : cases) {
        writeBytes(unitFile(), patternFile(used));
        ASSERT_TRUE(CFileDataMgr::loadData()) << used;
        EXPECT_EQ(patternCount(), expected) << used;
        EXPECT_TRUE(patterns().getActive());
    }
    // An empty slot area: nothing current, but the collection counts as read.
    writeBytes(dir / "none.QL0", patternFile(0));
    ASSERT_TRUE(CFileDataMgr::importData(dir / "none.QL0"));
    EXPECT_EQ(patternCount(), 0u);
    EXPECT_EQ(patterns().getCurPattarn(), nullptr);
    EXPECT_TRUE(patterns().getActive());
}

TEST_F(FileDataMgrTest, BarsAreRecountedInFourFourAndTheUnitPlaysThreeFillsAsOneBar) {
    auto waltz = addPattern("WALTZ", quarters(48));  // 4,608 ticks
    waltz->setNume(3);
    waltz->renewPhraseNumerator();
    for (int v : {2, 4, 6, 8}) waltz->getPhraseAtVariation(v)->setBars(4);
    ASSERT_TRUE(CFileDataMgr::saveData());
    EXPECT_EQ(le(readBytes(unitFile()), slotAt(0) + 24 + 4, 2), 16u) << "stored in 3/4";

    ASSERT_TRUE(CFileDataMgr::loadData());
    auto fromUnit = patterns().getPtnData()[0];
    EXPECT_EQ(fromUnit->getNume(), 3);
    EXPECT_EQ(fromUnit->getDeno(), 4);
    for (int v = 0; v < kVariationCount; ++v) {
        const auto& phrase = *fromUnit->getPhraseAtVariation(v);
        EXPECT_EQ(phrase.getTotalBars(), 12) << v;
        EXPECT_EQ(phrase.getFileName(), "USER");
    }
    EXPECT_EQ(fromUnit->getPhraseAtVariation(0)->getBars(), 12);
    for (int v : {2, 4, 6}) EXPECT_EQ(fromUnit->getPhraseAtVariation(v)->getBars(), 1) << v;
    EXPECT_EQ(fromUnit->getPhraseAtVariation(8)->getBars(), 4) << "D Fill keeps its window";

    ASSERT_TRUE(CFileDataMgr::importData(unitFile()));
    for (int v : {2, 4, 6, 8}) {
        EXPECT_EQ(patterns().getPtnData()[0]->getPhraseAtVariation(v)->getBars(), 4) << v;
    }
}

TEST_F(FileDataMgrTest, ExportThenImportGivesThePatternsBack) {
    auto a = addPattern("LONGER THAN TWELVE", quarters(64));
    a->setKitNum(7);
    a->setTempo(133);
    a->getPhraseAtVariation(1)->setFrom(2);
    a->getPhraseAtVariation(1)->setBars(3);
    setNotes(*a->getPhraseAtVariation(3), quarters(10, 60));  // stored as a count only
    auto b = addPattern("6/8", quarters(36));
    b->setDeno(8);
    b->setNume(6);
    b->getPhraseAtVariation(7)->setFrom(1);
    b->getPhraseAtVariation(7)->setBars(3);
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "backup.QL0"));
    EXPECT_TRUE(CEditNotify::isEdited()) << "an export is not a save";

    const auto windowsA = windowsOf(*a);
    const auto windowsB = windowsOf(*b);
    ASSERT_TRUE(CFileDataMgr::importData(dir / "backup.QL0"));
    ASSERT_EQ(patternCount(), 2u);
    const auto& got = patterns().getPtnData();
    EXPECT_EQ(got[0]->getName(), "LONGER THAN ");
    EXPECT_EQ(got[1]->getName(), "6/8         ");
    EXPECT_EQ(got[0]->getKitNum(), 7);
    EXPECT_EQ(got[0]->getTempo(), 133);
    EXPECT_EQ(got[1]->getNume(), 6);
    EXPECT_EQ(got[1]->getDeno(), 8);
    EXPECT_EQ(windowsOf(*got[0]), windowsA);
    EXPECT_EQ(windowsOf(*got[1]), windowsB);
    EXPECT_EQ(notesOf(*got[0]->getPhraseAtVariation(0)), quarters(64));
    EXPECT_EQ(notesOf(*got[0]->getPhraseAtVariation(3)), quarters(10))
        << "every variation plays the Intro's notes";
    EXPECT_EQ(patterns().getCurPattarn(), got[0]);
    EXPECT_EQ(got[0]->getCurVairationNum(), 0);
}

// Fails the writer's temporary file after a few bytes for as long as it lives.
struct WriteFailure {
    WriteFailure() { AtomicFileWriter::failAfterBytesForTesting(1000); }
    ~WriteFailure() { AtomicFileWriter::failAfterBytesForTesting(-1); }
};

// Leaves root's override of file permissions for the file system calls of this thread, so
// that a read-only folder is read-only to the test whoever runs it.
struct WithoutRootOverride {
    WithoutRootOverride() {
        if (::geteuid() != 0) return;
        ::setfsgid(65534);
        ::setfsuid(65534);
    }
    ~WithoutRootOverride() {
        if (::geteuid() != 0) return;
        ::setfsuid(0);
        ::setfsgid(0);
    }
};

TEST_F(FileDataMgrTest, AFailedWriteKeepsThePreviousFile) {
    addPattern("OLD", quarters(4));
    ASSERT_TRUE(CFileDataMgr::saveData());
    const FileBytes old = readBytes(unitFile());
    addPattern("NEW", quarters(4));
    {
        WriteFailure failing;
        EXPECT_FALSE(CFileDataMgr::saveData());
    }
    EXPECT_EQ(readBytes(unitFile()), old);
    EXPECT_TRUE(CEditNotify::isEdited());
    ASSERT_TRUE(fs::is_directory(backups()));
    auto kept = fs::directory_iterator(backups());
    ASSERT_NE(kept, fs::directory_iterator());
    EXPECT_EQ(readBytes(kept->path()), old);
    for (const auto& e : fs::directory_iterator(unitFile().parent_path())) {
        EXPECT_EQ(e.path(), unitFile()) << "no temporary file is left behind";
    }

    // A folder the program may not write to, in folders it may pass through.
    fs::permissions(dir, fs::perms::owner_all | fs::perms::others_exec);
    const fs::path locked = dir / "locked";
    fs::create_directories(locked);
    writeBytes(locked / "backup.QL0", old);
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                fs::perms::others_exec);
    fs::permissions(backups(), fs::perms::all);
    {
        WithoutRootOverride asUser;
        EXPECT_FALSE(CFileDataMgr::exportData(locked / "backup.QL0"));
    }
    EXPECT_EQ(readBytes(locked / "backup.QL0"), old);
    EXPECT_EQ(std::distance(fs::directory_iterator(backups()), fs::directory_iterator()), 2);
}

TEST_F(FileDataMgrTest, OnlyTheFirstQuarterOfTheSlotsIsClearedBeforeAWrite) {
    for (int i = 0; i < 20; ++i) addPattern("P" + std::to_string(i), quarters(2));
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "twenty.QL0"));
    patterns().removePatternData(
        CPatternMgr::IndexSet{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19});
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "one.QL0"));
    const FileBytes f = readBytes(dir / "one.QL0");
    EXPECT_EQ(le(f, kSlotCountAt, 4), 40184u);
    EXPECT_TRUE(
        std::all_of(f.begin() + slotAt(1), f.begin() + slotAt(12), [](auto b) { return b == 0; }));
    EXPECT_EQ(std::string(f.begin() + slotAt(13), f.begin() + slotAt(13) + 3), "P13")
        << "slots past the cleared quarter keep the last write";
    ASSERT_TRUE(CFileDataMgr::importData(dir / "one.QL0"));
    EXPECT_EQ(patternCount(), 1u);
}

TEST_F(FileDataMgrTest, WithoutAStorageThereIsNoVolume) {
    Context withoutUnit;
    withoutUnit.patterns().addPatternData();
    EXPECT_FALSE(CFileDataMgr::IsVolumeExist());
    EXPECT_FALSE(CFileDataMgr::IsDataFileExist());
    EXPECT_FALSE(CFileDataMgr::loadData());
    EXPECT_FALSE(CFileDataMgr::saveData());
}

}  // namespace
}  // namespace tavrel
