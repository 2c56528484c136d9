// CFileDataMgr: the unit's pattern file, backups of it, and MIDI files loaded as new patterns.
#include "files/AtomicFileWriter.h"
#include "files/CFileDataMgr.h"
#include "files/FolderStorage.h"
#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Log.h"
#include "model/NotificationCenter.h"
#include "model/PatternChange.h"
#include "support/NotificationRecorder.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedAlerts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>

#include "SmfBuilder.h"

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::readBytes;
using test::smfFile;
using test::TrackBuilder;
using test::writeBytes;

constexpr std::size_t kSlotSize = 40184;
constexpr std::size_t kFileSize = 12 + 50 * kSlotSize;

// Distinct notes, each a quarter note after the one before.
StepRecords quarters(std::size_t n, std::uint8_t firstNote = 35) {
    StepRecords r(n);
    for (std::size_t i = 0; i < n; ++i) {
        r[i] = {96, static_cast<std::uint8_t>(firstNote + i % 40),
                static_cast<std::uint8_t>(1 + i % 127)};
    }
    return r;
}

StepRecords notesOf(const CPhraseData& phrase) {
    return phrase.getSeqData() ? *phrase.getSeqData() : StepRecords{};
}

std::size_t slotAt(std::size_t p) {
    return 12 + p * kSlotSize;
}

std::uint32_t le(const Bytes& b, std::size_t at, int width) {
    std::uint32_t v = 0;
    for (int i = width - 1; i >= 0; --i) v = (v << 8) | b[at + static_cast<std::size_t>(i)];
    return v;
}

Bytes patternFile(std::uint32_t usedBytes) {
    Bytes b(kFileSize, 0);
    std::memcpy(b.data(), "PTN_0000", 8);
    for (int i = 0; i < 4; ++i) b[8 + i] = static_cast<std::uint8_t>(usedBytes >> (8 * i));
    return b;
}

// A fresh context whose unit data folder is a scratch folder, with scripted alerts.
class FileDataMgrTest : public ::testing::Test {
protected:
    FileDataMgrTest() {
        fs::create_directories(dir / "unit");
        ctx.install<FolderStorage, UnitStorage>(std::make_unique<FolderStorage>(dir / "unit"));
        alerts =
            &ctx.install<test::ScriptedAlerts, Alerts>(std::make_unique<test::ScriptedAlerts>());
    }
    CPatternMgr& patterns() { return ctx.patterns(); }
    std::size_t patternCount() { return patterns().getPtnData().size(); }
    fs::path unitFile() const { return dir / "unit" / "RHYTHM.QL0"; }
    std::shared_ptr<CPtnDataMgr> addPattern(const std::string& name, const StepRecords& notes) {
        auto p = patterns().addPatternData();
        p->setName(name);
        for (int v = 0; v < kVariationCount; ++v) {
            p->getPhraseAtVariation(v)->setSeqData(notes.data(),
                                                   static_cast<std::int32_t>(notes.size()));
        }
        return p;
    }
    const CPtnDataMgr& pattern(std::size_t i) { return *patterns().getPtnData().at(i); }
    std::shared_ptr<CPtnDataMgr> last() { return patterns().getPtnData().back(); }
    fs::path midi(const std::string& name, const Bytes& bytes) {
        return writeBytes(dir / name, bytes);
    }
    std::string alertText(std::size_t i) const {
        const auto& a = alerts->shown.at(i);
        return a.message + "|" + a.informative + "|" + a.confirmButton;
    }
    // A test may work in the scratch folder: the folder it started in is restored first.
    ~FileDataMgrTest() override { fs::current_path(startedIn); }

    const fs::path startedIn = fs::current_path();
    test::ScratchFolder dir;
    Context ctx;
    test::ScriptedAlerts* alerts = nullptr;
};
using LoadSmfTest = FileDataMgrTest;

// Two bars of quarter-note kicks at division 96, so file ticks are the unit's steps, after a
// Set Tempo unless `micros` is 0.
TrackBuilder kicks(std::uint32_t micros = 0) {
    TrackBuilder t;
    if (micros != 0) t.tempo(0, micros);
    t.noteOn(0, 36, 100);
    for (int i = 1; i < 8; ++i) t.noteOn(96, 36, 100);
    return t;
}

// The kicks, ended a step after the last, in a file of one track.
Bytes groove(std::uint32_t micros) {
    return smfFile(0, 96, {kicks(micros).endOfTrack(96).chunk()});
}

TEST_F(FileDataMgrTest, SavesTheWorkedExampleByteForByte) {
    auto rock = addPattern("ROCK", quarters(120));
    rock->setKitNum(5);
    rock->setTempo(100);
    rock->setNume(3);
    ASSERT_TRUE(CEditNotify::isEdited());

    ASSERT_TRUE(CFileDataMgr::saveData());
    EXPECT_FALSE(CEditNotify::isEdited());
    EXPECT_TRUE(CFileDataMgr::IsDataFileExist());
    const Bytes f = readBytes(unitFile());
    ASSERT_EQ(f.size(), 2009212u);
    EXPECT_EQ(std::string(f.begin(), f.begin() + 8), "PTN_0000");
    EXPECT_EQ(Bytes(f.begin() + 8, f.begin() + 12), (Bytes{0xF8, 0x9C, 0x00, 0x00}));
    const std::size_t s = slotAt(0);
    EXPECT_EQ(std::string(f.begin() + s, f.begin() + s + 13), std::string("ROCK        \0", 13));
    EXPECT_EQ(Bytes(f.begin() + s + 16, f.begin() + s + 22),
              (Bytes{0x05, 0x00, 0x64, 0x00, 0x03, 0x04}));
    for (std::size_t v = 0; v < 10; ++v) {
        const std::size_t entry = s + 24 + 16 * v;
        EXPECT_EQ(le(f, entry + 12, 2), 120u) << "variation " << v;
        EXPECT_EQ(le(f, entry + 4, 2), 30u) << "120 quarters are 30 bars of 4/4";
    }
    // The first and the last record of the Intro, then nothing.
    EXPECT_EQ(Bytes(f.begin() + s + 184, f.begin() + s + 188), (Bytes{96, 0, 35, 1}));
    EXPECT_EQ(le(f, s + 184 + 119 * 4, 4), 0x784A'0060u);  // delta 96, note 35 + 39, velocity 120
    EXPECT_EQ(le(f, s + 184 + 120 * 4, 4), 0u);
}

TEST_F(FileDataMgrTest, NothingIsWrittenWithoutPatternsOrWithoutTheUnit) {
    const Bytes before = {1, 2, 3};
    writeBytes(unitFile(), before);
    EXPECT_TRUE(CFileDataMgr::saveData());
    EXPECT_TRUE(CFileDataMgr::exportData(dir / "empty.QL0"));
    EXPECT_FALSE(fs::exists(dir / "empty.QL0"));

    Context withoutUnit;
    withoutUnit.patterns().addPatternData();
    EXPECT_FALSE(CFileDataMgr::IsVolumeExist());
    EXPECT_FALSE(CFileDataMgr::IsDataFileExist());
    EXPECT_FALSE(CFileDataMgr::loadData());
    EXPECT_FALSE(CFileDataMgr::saveData());
    EXPECT_TRUE(CEditNotify::isEdited());
    EXPECT_EQ(readBytes(unitFile()), before);
}

TEST_F(FileDataMgrTest, AFileHoldsFiftyPatternsAtMost) {
    for (int i = 0; i < 60; ++i) addPattern("P" + std::to_string(i), quarters(4));
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "sixty.QL0"));
    const Bytes f = readBytes(dir / "sixty.QL0");
    ASSERT_EQ(f.size(), kFileSize);
    EXPECT_EQ(le(f, 8, 4), 50u * kSlotSize);
    EXPECT_EQ(std::string(f.begin() + slotAt(49), f.begin() + slotAt(49) + 3), "P49");
    ASSERT_TRUE(CFileDataMgr::importData(dir / "sixty.QL0"));
    ASSERT_EQ(patternCount(), 50u);
    EXPECT_EQ(pattern(49).getName(), "P49         ");
    // A write clears only the first quarter of the slots: past it, a smaller collection leaves
    // what the last read or write put there, from a new context's collection too.
    CPatternMgr::IndexSet last40;
    for (int row = 10; row < 50; ++row) last40.insert(row);
    patterns().removePatternData(last40);
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "fewer.QL0"));
    const Bytes fewer = readBytes(dir / "fewer.QL0");
    ASSERT_EQ(fewer.size(), kFileSize);
    EXPECT_TRUE(std::equal(f.begin() + slotAt(49), f.end(), fewer.begin() + slotAt(49)));
    EXPECT_EQ(le(fewer, slotAt(12), 4), 0u) << "first quarter cleared";

    // The header alone says how many slots are in use; more than 50 is not believed, and
    // said so once.
    const std::vector<std::pair<std::uint32_t, std::size_t>> counts = {
        {0, 0}, {kSlotSize - 1, 0}, {3 * kSlotSize + 7, 3}, {51 * kSlotSize, 50}, {0xFFFFFFFF, 50}};
    std::vector<std::string> logged;
    Log::setSink([&](std::string_view, std::string_view text) { logged.emplace_back(text); });
    for (const auto& [used, expected] : counts) {
        writeBytes(unitFile(), patternFile(used));
        ASSERT_TRUE(CFileDataMgr::loadData()) << used;
        EXPECT_EQ(patternCount(), expected) << used;
        EXPECT_TRUE(patterns().getActive()) << used;
        EXPECT_EQ(patterns().getCurPattarn() == nullptr, expected == 0) << used;
        std::string warning;
        ASSERT_TRUE(CFileDataMgr::importData(unitFile(), &warning));
        EXPECT_EQ(warning.empty(), used < 51 * kSlotSize) << used;
    }
    Log::setSink({});
    const auto claims = [](std::size_t n) {
        return "pattern file: the header claims " + std::to_string(n) +
               " patterns, but a pattern file holds 50; reading 50";
    };
    EXPECT_EQ(logged,
              (std::vector<std::string>{claims(51), claims(51), claims(0xFFFFFFFF / kSlotSize),
                                        claims(0xFFFFFFFF / kSlotSize)}))
        << "one line for each read of the unit's file and of the import";
}

TEST_F(FileDataMgrTest, RecordsAreCutToTenThousandWrittenAndToWhatEachReaderTakes) {
    const StepRecords many = quarters(12000);
    addPattern("MANY", many);
    ASSERT_TRUE(CFileDataMgr::saveData());
    Bytes f = readBytes(unitFile());
    const std::size_t countAt = slotAt(0) + 24 + 12;  // the Intro's record count
    EXPECT_EQ(le(f, countAt, 2), 10000u);
    const StepRecord last = many[9999];
    EXPECT_EQ(le(f, slotAt(0) + 184 + 9999 * 4, 4),
              last.delta | std::uint32_t{last.note} << 16 | std::uint32_t{last.velocity} << 24)
        << "the 10,000th record is written";
    EXPECT_EQ(le(f, slotAt(1), 4), 0u) << "the 10,001st is not, it would run into slot 1";

    // The unit takes 9,999 records, an import 10,000, whatever the stored count says.
    for (const bool overstated : {false, true}) {
        if (overstated) {
            f[countAt] = f[countAt + 1] = 0xFF;
            writeBytes(unitFile(), f);
        }
        ASSERT_TRUE(CFileDataMgr::loadData());
        EXPECT_EQ(notesOf(*pattern(0).getPhraseAtVariation(0)),
                  StepRecords(many.begin(), many.begin() + 9999));
        ASSERT_TRUE(CFileDataMgr::importData(unitFile()));
        EXPECT_EQ(notesOf(*pattern(0).getPhraseAtVariation(0)),
                  StepRecords(many.begin(), many.begin() + 10000));
    }
}

TEST_F(FileDataMgrTest, FilesThatAreNotPatternFilesLeaveTheCollectionAlone) {
    addPattern("KEEP", quarters(8));
    patterns().setCurPatternNum(-1);
    const auto before = patterns().getPtnData();
    test::NotificationRecorder seen;

    Bytes wrongMagic = patternFile(kSlotSize);
    wrongMagic[7] = '1';
    Bytes shortFile = patternFile(kSlotSize);
    shortFile.pop_back();
    for (const Bytes& bad : {wrongMagic, shortFile, Bytes(8, 'P'), Bytes{}}) {
        EXPECT_FALSE(CFileDataMgr::importData(writeBytes(dir / "bad.QL0", bad))) << bad.size();
        writeBytes(unitFile(), bad);
        EXPECT_FALSE(CFileDataMgr::loadData()) << bad.size();
    }
    EXPECT_FALSE(CFileDataMgr::importData(dir / "missing.QL0"));
    EXPECT_FALSE(CFileDataMgr::importData(dir.path()));
    EXPECT_EQ(patterns().getPtnData(), before);
    EXPECT_EQ(patterns().getCurPattarnNum(), -1);
    EXPECT_FALSE(patterns().getActive());
    EXPECT_EQ(seen.total(), 0);
}

TEST_F(FileDataMgrTest, BarsAreRecountedInFourFourAndTheUnitPlaysThreeFillsAsOneBar) {
    auto waltz = addPattern("WALTZ", quarters(48));  // 4,608 ticks
    waltz->setNume(3);
    waltz->renewPhraseNumerator();
    for (int v : {2, 4, 6, 8}) waltz->getPhraseAtVariation(v)->setBars(4);
    ASSERT_TRUE(CFileDataMgr::saveData());
    EXPECT_EQ(le(readBytes(unitFile()), slotAt(0) + 24 + 4, 2), 16u) << "stored in 3/4";

    ASSERT_TRUE(CFileDataMgr::loadData());
    const CPtnDataMgr& fromUnit = pattern(0);
    EXPECT_EQ(fromUnit.getNume(), 3);
    for (int v = 0; v < kVariationCount; ++v) {
        EXPECT_EQ(fromUnit.getPhraseAtVariation(v)->getTotalBars(), 12) << v;
    }
    EXPECT_EQ(fromUnit.getPhraseAtVariation(0)->getBars(), 12);
    for (int v : {2, 4, 6}) EXPECT_EQ(fromUnit.getPhraseAtVariation(v)->getBars(), 1) << v;
    EXPECT_EQ(fromUnit.getPhraseAtVariation(8)->getBars(), 4) << "D Fill keeps its window";

    ASSERT_TRUE(CFileDataMgr::importData(unitFile()));
    for (int v : {2, 4, 6, 8}) EXPECT_EQ(pattern(0).getPhraseAtVariation(v)->getBars(), 4) << v;
}

// Variations read from a pattern file are named "USER", which is no file: a MIDI file of that
// name in the working directory must not reach them, however the pattern file is read.
TEST_F(FileDataMgrTest, PatternsReadFromAFileIgnoreAMidiFileNamedUser) {
    addPattern("ROCK", quarters(51));
    ASSERT_TRUE(CFileDataMgr::saveData());
    const fs::path backup = writeBytes(dir / "a.QL0", readBytes(unitFile()));
    writeBytes(dir / "USER", groove(300000));
    fs::current_path(dir.path());
    const std::vector<std::pair<std::string, std::function<bool()>>> reads = {
        {"import", [&] { return CFileDataMgr::importData(backup); }},
        {"unit", [] { return CFileDataMgr::loadData(); }},
        {"bytes", [&] { return CFileDataMgr::loadDataFrom(readBytes(backup)); }},
    };
    for (const auto& [how, read] : reads) {
        ASSERT_TRUE(read()) << how;
        for (int v = 0; v < kVariationCount; ++v) {
            CPhraseData& phrase = *pattern(0).getPhraseAtVariation(v);
            EXPECT_EQ(notesOf(phrase), quarters(51)) << how << " " << v;
            EXPECT_EQ(phrase.getFileName(), "USER");
        }
        EXPECT_EQ(pattern(0).getTempo(), 120) << how;
        // The reader the variation holds loaded nothing, and a later name re-applies that.
        CPhraseData& intro = *pattern(0).getPhraseAtVariation(0);
        intro.setFileName("USER");
        EXPECT_EQ(intro.getSeqDataCount(), 0) << how;
        EXPECT_EQ(intro.getTempo(), 0) << how;
    }
}

// A save takes its snapshot on the calling thread; the worker that writes it never looks at
// the model, which goes on changing meanwhile.
TEST_F(FileDataMgrTest, ASnapshotIsWrittenOnAnotherThreadAsItWasTaken) {
    addPattern("BEFORE", quarters(8));
    const PatternSnapshot taken = CFileDataMgr::snapshot();
    auto& edited = *patterns().getPtnData()[0];
    edited.setName("AFTER");
    std::thread worker([taken] { EXPECT_TRUE(CFileDataMgr::saveSnapshot(taken)); });
    for (int i = 0; i < 200; ++i) edited.setTempo(40 + i);
    worker.join();
    EXPECT_TRUE(CEditNotify::isEdited()) << "only saveData clears the mark";
    ASSERT_TRUE(CFileDataMgr::loadData());
    EXPECT_EQ(pattern(0).getName(), "BEFORE      ");
    EXPECT_EQ(pattern(0).getTempo(), 120);
}

// A whole file read, and a MIDI load, each post one change for the collection, after it is
// active, whatever the number of patterns and variations they set.
TEST_F(FileDataMgrTest, AFileReadPostsOnceWhenTheCollectionIsActive) {
    for (int i = 0; i < 50; ++i) addPattern("P" + std::to_string(i), quarters(16));
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "full.QL0"));
    CEditNotify::clr();
    test::NotificationRecorder seen;
    std::vector<std::pair<bool, PatternChange>> posts;
    const auto token =
        ctx.notifications().addObserver(NOTIFY_PATTERN_PARM_CHANGED, [&](const Notification& n) {
            ASSERT_NE(n.change, nullptr);
            posts.emplace_back(patterns().getActive(), *n.change);
        });

    ASSERT_TRUE(CFileDataMgr::importData(dir / "full.QL0"));
    ASSERT_EQ(patternCount(), 50u);
    EXPECT_EQ(seen.count(NOTIFY_PARAM_CHANGED_MARK), 1);
    EXPECT_EQ(seen.total(), 2);
    ASSERT_EQ(posts.size(), 1u) << "one change for the collection";
    EXPECT_TRUE(posts[0].first) << "posted while the collection read as inactive";
    EXPECT_EQ(posts[0].second.kind, PatternChange::Kind::Reset);

    seen.clear();
    posts.clear();
    ASSERT_TRUE(CFileDataMgr::loadSmf(writeBytes(dir / "g.mid", groove(500000))));
    EXPECT_EQ(seen.total(), 1);
    ASSERT_EQ(posts.size(), 1u);
    EXPECT_EQ(posts[0].second.kind, PatternChange::Kind::Inserted);
    EXPECT_EQ(posts[0].second.pattern, 50);
}

TEST_F(FileDataMgrTest, ExportThenImportGivesThePatternsBack) {
    auto a = addPattern("LONGER THAN TWELVE", quarters(64));
    a->setKitNum(7);
    a->setTempo(133);
    a->getPhraseAtVariation(1)->setFrom(2);
    a->getPhraseAtVariation(1)->setBars(3);
    const StepRecords other = quarters(10, 60);
    a->getPhraseAtVariation(3)->setSeqData(other.data(), 10);  // stored as a count only
    auto b = addPattern("6/8", quarters(36));
    b->setDeno(8);
    b->setNume(6);
    ASSERT_TRUE(CFileDataMgr::exportData(dir / "backup.QL0"));
    EXPECT_TRUE(CEditNotify::isEdited()) << "an export is not a save";

    ASSERT_TRUE(CFileDataMgr::importData(dir / "backup.QL0"));
    ASSERT_EQ(patternCount(), 2u);
    ASSERT_NE(patterns().getPtnData()[0], a) << "the import makes new patterns";
    EXPECT_EQ(pattern(0).getName(), "LONGER THAN ");
    EXPECT_EQ(pattern(0).getKitNum(), 7);
    EXPECT_EQ(pattern(0).getTempo(), 133);
    for (int v = 0; v < kVariationCount; ++v) {
        const auto &got = pattern(0).getPhraseAtVariation(v), &was = a->getPhraseAtVariation(v);
        EXPECT_EQ(got->getFrom(), was->getFrom()) << v;
        EXPECT_EQ(got->getBars(), was->getBars()) << v;
    }
    EXPECT_EQ(notesOf(*pattern(0).getPhraseAtVariation(0)), quarters(64));
    EXPECT_EQ(notesOf(*pattern(0).getPhraseAtVariation(3)), quarters(10))
        << "every variation plays as many of the Intro's notes as it had of its own";
    EXPECT_EQ(pattern(1).getName(), "6/8         ");
    EXPECT_EQ(pattern(1).getNume(), 6);
    EXPECT_EQ(pattern(1).getDeno(), 8);
    EXPECT_EQ(patterns().getCurPattarn(), patterns().getPtnData()[0]);
}

TEST_F(FileDataMgrTest, AFailedWriteKeepsThePreviousFileAndMakesNoBackup) {
    addPattern("OLD", quarters(4));
    ASSERT_TRUE(CFileDataMgr::saveData());
    const Bytes old = readBytes(unitFile());
    addPattern("NEW", quarters(4));
    AtomicFileWriter::failAfterBytesForTesting(1000);
    EXPECT_FALSE(CFileDataMgr::saveData());
    AtomicFileWriter::failAfterBytesForTesting(-1);
    EXPECT_EQ(readBytes(unitFile()), old);
    EXPECT_TRUE(CEditNotify::isEdited());
    EXPECT_TRUE(test::namesIn(dir.backups()).empty())
        << "a failed write keeps no copy of the old file";
    EXPECT_EQ(test::namesIn(dir / "unit"), std::vector<std::string>{"RHYTHM.QL0"})
        << "no temporary file is left behind";
}

TEST_F(LoadSmfTest, AppendsAPatternWhoseTenVariationsHoldTheFile) {
    patterns().addPatternData();
    const fs::path path = midi("groove.mid", groove(300000));
    ASSERT_TRUE(CFileDataMgr::loadSmf(path));
    ASSERT_EQ(patternCount(), 2u);
    const auto p = last();
    EXPECT_EQ(patterns().getCurPattarn(), p);
    EXPECT_EQ(p->getTempo(), 200);
    StepRecords twoBars(8, StepRecord{96, 36, 100});
    twoBars.front().delta = 0;
    twoBars.push_back({96, 0, 0});
    for (int v = 0; v < kVariationCount; ++v) {
        const CPhraseData& phrase = *p->getPhraseAtVariation(v);
        EXPECT_EQ(phrase.getFileName(), path.string());
        EXPECT_EQ(notesOf(phrase), twoBars) << v;
        const bool fill = v == 2 || v == 4 || v == 6 || v == 8;
        EXPECT_EQ(phrase.getBars(), fill ? 1 : 2) << v;
    }
    EXPECT_TRUE(alerts->shown.empty());

    // Without a Set Tempo the file reads as tempo 0 and the pattern gets the slowest.
    ASSERT_TRUE(CFileDataMgr::loadSmf(midi("none.mid", groove(0))));
    EXPECT_EQ(last()->getTempo(), 40);
}

TEST_F(LoadSmfTest, NamesThePatternAfterTheFileInTwelveCharacters) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"sixteen-letters!.mid", "sixteen-lett"},
        {"k.MID", "k           "},
        {"caf\xC3\xA9 groove.mid", "caf? groove "},
        {"\xF0\x9F\xA5\x81 drums.mid", "? drums     "},
        {"del\x7F.mid", "del?        "},
        {"stray\xA9\xC3.mid", "stray??     "},
        {"beat.v2.mid", "beat.v2     "},
    };
    for (const auto& [file, name] : cases) {
        ASSERT_TRUE(CFileDataMgr::loadSmf(midi(file, groove(500000)))) << file;
        EXPECT_EQ(last()->getName(), name) << file;
    }
}

TEST_F(LoadSmfTest, AsksBeforeMergingTracksAndCancelChangesNothing) {
    const Bytes tempoTrack = TrackBuilder().tempo(0, 500000).endOfTrack().chunk();
    const fs::path path =
        midi("funk.mid", smfFile(1, 96, {tempoTrack, kicks().endOfTrack(96).chunk()}));
    test::NotificationRecorder seen;
    alerts->answers = {false, true};

    EXPECT_FALSE(CFileDataMgr::loadSmf(path));
    EXPECT_EQ(patternCount(), 0u);
    EXPECT_EQ(seen.total(), 0);
    ASSERT_EQ(alerts->shown.size(), 1u);
    EXPECT_EQ(alertText(0), "SMF Format 1|Merge all tracks.|OK");

    ASSERT_TRUE(CFileDataMgr::loadSmf(path));
    EXPECT_EQ(last()->getPhraseAtVariation(0)->getSeqDataCount(), 9);
    EXPECT_EQ(last()->getTempo(), 120);

    // One track, whatever the format, loads without a question.
    alerts->shown.clear();
    ASSERT_TRUE(CFileDataMgr::loadSmf(midi("one.mid", smfFile(1, 96, {kicks().chunk()}))));
    EXPECT_TRUE(alerts->shown.empty());

    // Nobody to ask means no.
    Context unattended;
    EXPECT_FALSE(CFileDataMgr::loadSmf(path));
    EXPECT_TRUE(unattended.patterns().getPtnData().empty());
}

TEST_F(LoadSmfTest, FilesThatMakeNoPattern) {
    patterns().addPatternData();
    const auto before = patterns().getPtnData();
    test::NotificationRecorder seen;
    EXPECT_FALSE(CFileDataMgr::loadSmf(dir / "missing.mid"));
    ASSERT_EQ(alerts->shown.size(), 1u);
    EXPECT_EQ(alertText(0),
              "Load MIDI File.|Format error. The file cannot be read: No such file or directory.|");
    EXPECT_EQ(seen.total(), 0);

    // Less than a bar: the pattern goes again, without a word.
    const Bytes blip = smfFile(0, 96, {TrackBuilder().noteOn(0, 36, 100).endOfTrack(50).chunk()});
    EXPECT_FALSE(CFileDataMgr::loadSmf(midi("blip.mid", blip)));
    EXPECT_EQ(patterns().getPtnData(), before);
    EXPECT_EQ(patterns().getCurPattarn(), before[0]);
    EXPECT_EQ(alerts->shown.size(), 1u);

    // A header the reader refuses passes the first look, which only tells unreadable from
    // readable: each variation's read then fails and keeps its empty defaults, 16 bars long.
    ASSERT_TRUE(CFileDataMgr::loadSmf(midi("song.mid", smfFile(2, 96, {kicks().chunk()}))));
    EXPECT_EQ(last()->getName(), "song        ");
    EXPECT_EQ(last()->getPhraseAtVariation(0)->getSeqData(), nullptr);
    EXPECT_EQ(alerts->shown.size(), 1u);
}

}  // namespace
}  // namespace tavrel
