#include "files/CFileDataMgr.h"
#include "files/CPhraseFile.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "support/NotificationRecorder.h"

#include <algorithm>

#include "PatternFileFixture.h"
#include "SmfBuilder.h"

namespace tavrel {
namespace {

namespace fs = std::filesystem;

using test::Bytes;
using test::smfFile;
using test::TrackBuilder;

// Two bars of quarter-note kicks at division 96, so file ticks are the unit's steps.
TrackBuilder kicks(std::uint8_t velocity = 100) {
    TrackBuilder t;
    t.noteOn(0, 36, velocity);
    for (int i = 1; i < 8; ++i) t.noteOn(96, 36, velocity);
    return t;
}

Bytes grooveAt(std::uint32_t microsPerQuarter, std::uint8_t velocity = 100) {
    TrackBuilder t;
    t.tempo(0, microsPerQuarter).raw(kicks(velocity).body()).endOfTrack(96);
    return smfFile(0, 96, {t.chunk()});
}

Bytes grooveWithoutTempo() {
    return smfFile(0, 96, {kicks().endOfTrack(96).chunk()});
}

StepRecords twoBarsOfKicks() {
    StepRecords r(1, StepRecord{0, 36, 100});
    for (int i = 1; i < 8; ++i) r.push_back({96, 36, 100});
    r.push_back({96, 0, 0});  // the end of the track, a quarter after the last kick
    return r;
}

class LoadSmfTest : public test::PatternFileFixture {
protected:
    fs::path midi(const std::string& name, const Bytes& bytes) {
        test::writeBytes(dir / name, bytes);
        return dir / name;
    }
    std::shared_ptr<CPtnDataMgr> last() { return patterns().getPtnData().back(); }
};

TEST_F(LoadSmfTest, AppendsAPatternWhoseTenVariationsHoldTheFile) {
    patterns().addPatternData();
    const fs::path path = midi("groove.mid", grooveAt(500000));
    ASSERT_TRUE(CFileDataMgr::loadSmf(path));
    ASSERT_EQ(patternCount(), 2u);
    const auto p = last();
    EXPECT_EQ(patterns().getCurPattarn(), p);
    EXPECT_EQ(patterns().getCurPattarnNum(), 1);
    EXPECT_EQ(p->getCurVairationNum(), 0);
    EXPECT_EQ(p->getKitNum(), 0);
    EXPECT_EQ(p->getNume(), 4);
    EXPECT_EQ(p->getDeno(), 4);
    EXPECT_EQ(p->getTempo(), 120);
    for (int v = 0; v < kVariationCount; ++v) {
        const CPhraseData& phrase = *p->getPhraseAtVariation(v);
        EXPECT_EQ(phrase.getFileName(), path.string());
        ASSERT_NE(phrase.getSeqData(), nullptr);
        EXPECT_EQ(*phrase.getSeqData(), twoBarsOfKicks()) << v;
        EXPECT_EQ(phrase.getTotalBars(), 2);
        EXPECT_EQ(phrase.getFrom(), 0);
        const bool fill = v == 2 || v == 4 || v == 6 || v == 8;
        EXPECT_EQ(phrase.getBars(), fill ? 1 : 2) << v;
    }
    EXPECT_TRUE(alerts->shown.empty());
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
        ASSERT_TRUE(CFileDataMgr::loadSmf(midi(file, grooveAt(500000)))) << file;
        EXPECT_EQ(last()->getName(), name) << file;
    }
}

TEST_F(LoadSmfTest, TakesTheFilesTempoAndTheSlowestWhenThereIsNone) {
    ASSERT_TRUE(CFileDataMgr::loadSmf(midi("fast.mid", grooveAt(300000))));
    EXPECT_EQ(last()->getTempo(), 200);
    ASSERT_TRUE(CFileDataMgr::loadSmf(midi("none.mid", grooveWithoutTempo())));
    EXPECT_EQ(last()->getTempo(), 40);
    EXPECT_EQ(last()->getPhraseAtVariation(0)->getTempo(), 0);
}

TEST_F(LoadSmfTest, AsksBeforeMergingTracksAndCancelChangesNothing) {
    const Bytes tempoTrack = TrackBuilder().tempo(0, 500000).endOfTrack().chunk();
    const Bytes twoTracks = smfFile(1, 96, {tempoTrack, kicks().endOfTrack(96).chunk()});
    const fs::path path = midi("funk.mid", twoTracks);
    test::NotificationRecorder seen;
    alerts->answers = {false, true};

    EXPECT_FALSE(CFileDataMgr::loadSmf(path));
    EXPECT_EQ(patternCount(), 0u);
    EXPECT_EQ(seen.total(), 0);
    ASSERT_EQ(alerts->shown.size(), 1u);
    EXPECT_EQ(alerts->shown[0].message, "SMF Format 1");
    EXPECT_EQ(alerts->shown[0].informative, "Merge all tracks.");
    EXPECT_EQ(alerts->shown[0].confirmButton, "OK");

    ASSERT_TRUE(CFileDataMgr::loadSmf(path));
    EXPECT_EQ(*last()->getPhraseAtVariation(0)->getSeqData(), twoBarsOfKicks());
    EXPECT_EQ(last()->getTempo(), 120);

    // One track, whatever the format, loads without a question.
    alerts->shown.clear();
    ASSERT_TRUE(CFileDataMgr::loadSmf(midi("zero.mid", grooveAt(500000))));
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
    EXPECT_EQ(alerts->shown[0].message, "Load MIDI File.");
    EXPECT_EQ(alerts->shown[0].informative, "Format error.");
    EXPECT_EQ(alerts->shown[0].confirmButton, "");
    EXPECT_EQ(patterns().getPtnData(), before);
    EXPECT_EQ(seen.total(), 0);

    // Less than a bar: the pattern goes again, without a word.
    const Bytes blip = smfFile(0, 96, {TrackBuilder().noteOn(0, 36, 100).endOfTrack(50).chunk()});
    EXPECT_FALSE(CFileDataMgr::loadSmf(midi("blip.mid", blip)));
    EXPECT_EQ(patterns().getPtnData(), before);
    EXPECT_EQ(patterns().getCurPattarn(), before[0]);
    EXPECT_EQ(alerts->shown.size(), 1u);
}

TEST_F(LoadSmfTest, ARefusedHeaderStillGivesAnEmptyPattern) {
    // The first look only tells unreadable from readable; each variation's own read then
    // fails and keeps its empty defaults, whose 16 bars count as a length.
    const Bytes formatTwo = smfFile(2, 96, {kicks().chunk()});
    ASSERT_TRUE(CFileDataMgr::loadSmf(midi("song.mid", formatTwo)));
    EXPECT_EQ(last()->getName(), "song        ");
    EXPECT_EQ(last()->getPhraseAtVariation(0)->getSeqData(), nullptr);
    EXPECT_EQ(last()->getTempo(), 120);
    EXPECT_TRUE(alerts->shown.empty());
}

// The ten readers of one load share one parse; what they get must not differ from a parse of
// their own.
TEST_F(LoadSmfTest, ReadersSharingAParseGetWhatTheirOwnParseWouldGive) {
    // Rewritten in place at once, same size: the time stamp may well not change.
    const fs::path path = midi("edited.mid", grooveAt(500000));
    ASSERT_TRUE(CFileDataMgr::loadSmf(path));
    midi("edited.mid", grooveAt(500000, 127));
    ASSERT_TRUE(CFileDataMgr::loadSmf(path));
    for (int v = 0; v < kVariationCount; ++v) {
        EXPECT_EQ((*last()->getPhraseAtVariation(v)->getSeqData())[0].velocity, 127) << v;
    }

    // A reader keeps the tempo of an earlier file when the next one has none.
    const fs::path plain = midi("plain.mid", grooveWithoutTempo());
    const fs::path fast = midi("fast.mid", grooveAt(300000));
    CPhraseFile used;
    ASSERT_TRUE(used.loadSmf(fast));
    CPhraseFile fresh;
    ASSERT_TRUE(fresh.loadSmf(plain));
    ASSERT_TRUE(used.loadSmf(plain));
    EXPECT_EQ(fresh.getTemp(), 0);
    EXPECT_EQ(used.getTemp(), 200);
    ASSERT_EQ(used.getSeqDataCount(), fresh.getSeqDataCount());
    EXPECT_TRUE(std::equal(used.getSeqData(), used.getSeqData() + used.getSeqDataCount(),
                           fresh.getSeqData()));
}

TEST_F(LoadSmfTest, ExampleGroovesLoadAsFourFourPatterns) {
    const fs::path examples = TAVREL_EXAMPLES_DIR;
    if (!fs::exists(examples / "multitrack-funk.mid"))
        GTEST_SKIP() << "no examples in " << examples;
    ASSERT_TRUE(CFileDataMgr::loadSmf(examples / "multitrack-funk.mid"));
    EXPECT_EQ(alerts->shown.size(), 1u) << "three tracks ask to be merged";
    EXPECT_EQ(last()->getTempo(), 96);
    EXPECT_EQ(last()->getPhraseAtVariation(0)->getTotalBars(), 4);
    ASSERT_TRUE(CFileDataMgr::loadSmf(examples / "shuffle-6-8.mid"));
    EXPECT_EQ(last()->getName(), "shuffle-6-8 ");
    EXPECT_EQ(last()->getTempo(), 100);
    EXPECT_EQ(last()->getNume(), 4) << "the meter of the file is not read";
    EXPECT_EQ(last()->getPhraseAtVariation(0)->getTotalBars(), 3) << "12 quarters of 6/8";
}

}  // namespace
}  // namespace tavrel
