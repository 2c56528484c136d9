#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace tavrel {
namespace {

StepRecords recordsSpanning(int ticks, int notes = 4) {
    StepRecords r;
    for (int i = 0; i < notes - 1; ++i)
        r.push_back({static_cast<std::uint16_t>(ticks / notes), 36, 100});
    r.push_back({static_cast<std::uint16_t>(ticks - (notes - 1) * (ticks / notes)), 0, 0});
    return r;
}

void give(CPhraseData& v, int ticks) {
    const auto r = recordsSpanning(ticks);
    v.setSeqData(r.data(), static_cast<std::int32_t>(r.size()));
}

class PhraseDataTest : public ::testing::Test {
protected:
    Context ctx;
    CPhraseData phrase;
};

TEST_F(PhraseDataTest, TotalBarsDropAPartBeatThenRoundUpWholeBeats) {
    struct Case {
        int ticks, bars;
    };
    for (const Case c : {Case{1536, 4}, {1580, 4}, {1632, 5}, {95, 0}, {96, 1}, {1537, 4}}) {
        give(phrase, c.ticks);
        EXPECT_EQ(phrase.getTotalTicks(), c.ticks);
        EXPECT_EQ(phrase.getTotalBars(), c.bars) << c.ticks << " ticks";
        EXPECT_EQ(phrase.getFrom(), 0);
        EXPECT_EQ(phrase.getBars(), c.bars);
        EXPECT_EQ(phrase.getSeqDataCount(), 4);
    }
    phrase.setSeqData(nullptr, 0);
    EXPECT_EQ(phrase.getTotalTicks(), 0);
    EXPECT_EQ(phrase.getTotalBars(), 0);
    EXPECT_EQ(phrase.getBars(), 0);
    EXPECT_EQ(phrase.getSeqDataCount(), 0);
}

TEST_F(PhraseDataTest, NewNotesPostOnlyWhileSomethingIsBeingEdited) {
    test::NotificationRecorder rec;
    give(phrase, 384);
    EXPECT_EQ(rec.total(), 0);
    EXPECT_FALSE(CEditNotify::isEdited());

    ctx.patterns().addPatternData();
    rec.clear();
    give(phrase, 384);  // any current variation will do, not only this one
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &phrase), 1);
    EXPECT_TRUE(CEditNotify::isEdited());
}

TEST_F(PhraseDataTest, ReplacedNotesLeaveTheOldArrayToItsHolder) {
    give(phrase, 384);
    const SharedStepRecords held = phrase.getSeqData();
    give(phrase, 768);
    EXPECT_EQ(held->back().delta, 96);
    EXPECT_NE(held, phrase.getSeqData());
}

TEST_F(PhraseDataTest, WindowIsClampedToThePhrase) {
    give(phrase, 5 * 384);  // 5 bars of 4/4
    test::NotificationRecorder rec;

    phrase.setFrom(5);  // at the total: ignored without a word
    EXPECT_EQ(phrase.getFrom(), 0);
    EXPECT_EQ(rec.total(), 0);

    phrase.setFrom(4);  // last bar: the window shrinks to it, and two posts
    EXPECT_EQ(phrase.getFrom(), 4);
    EXPECT_EQ(phrase.getBars(), 1);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &phrase), 2);

    phrase.setFrom(2);
    phrase.setBars(8);
    EXPECT_EQ(phrase.getBars(), 3);
    phrase.setBars(2);
    EXPECT_EQ(phrase.getBars(), 2);

    phrase.setFrom(-1);  // no lower bound
    EXPECT_EQ(phrase.getFrom(), -1);
    EXPECT_EQ(phrase.getBars(), 2);
}

TEST_F(PhraseDataTest, TimeSignatureChangeKeepsTheWindowsPlaceInTicks) {
    give(phrase, 3072);
    phrase.setFrom(2);
    phrase.setBars(4);
    phrase.renewPhraseNumerator(3, 4);
    EXPECT_EQ(phrase.getFrom(), 2);
    EXPECT_EQ(phrase.getBars(), 5);
    EXPECT_EQ(phrase.getTotalBars(), 11);
    EXPECT_EQ(phrase.getNume(), 3);

    CPhraseData eighths;
    give(eighths, 3072);
    eighths.setFrom(2);
    eighths.setBars(4);
    eighths.renewPhraseNumerator(6, 8);
    EXPECT_EQ(eighths.getFrom(), 2);
    EXPECT_EQ(eighths.getBars(), 5);
    EXPECT_EQ(eighths.getTotalBars(), 11);
    EXPECT_EQ(eighths.getDeno(), 8);

    // Back to 4/4 from 3/4: 5 bars of 3 beats are 3.75 bars, cut to 3; 11 bars become 8.
    phrase.renewPhraseNumerator(4, 4);
    EXPECT_EQ(phrase.getBars(), 3);
    EXPECT_EQ(phrase.getTotalBars(), 8);
}

TEST_F(PhraseDataTest, ShortWindowsAndFillsFallBackToOneBar) {
    for (int vari = 0; vari < 10; ++vari) {
        CPhraseData v;
        v.setVariNum(vari);
        give(v, 3072);
        v.setBars(2);
        v.renewPhraseNumerator(3, 4);  // 2 bars of 4 -> 2.67 bars of 3 -> 2
        const bool fill = vari == 2 || vari == 4 || vari == 6 || vari == 8;
        EXPECT_EQ(v.getBars(), fill ? 1 : 2) << "variation " << vari;
    }
    CPhraseData tiny;
    give(tiny, 3072);
    tiny.setBars(1);
    tiny.renewPhraseNumerator(6, 8);  // 4 beats = 8 eighths -> 1.33 bars -> 1
    EXPECT_EQ(tiny.getBars(), 1);
}

TEST_F(PhraseDataTest, EmptyVariationKeepsItsOwnSignature) {
    test::NotificationRecorder rec;
    phrase.renewPhraseNumerator(3, 4);
    EXPECT_EQ(phrase.getNume(), 4);
    EXPECT_EQ(phrase.getTotalBars(), 16);
    EXPECT_EQ(rec.total(), 0);
}

// Four quarter notes and End of Track at 96 ticks per quarter, tempo 150.
void writeSmallSmf(const std::filesystem::path& path, std::uint8_t note) {
    // clang-format off
    const unsigned char bytes[] = {
        'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0, 96,
        'M', 'T', 'r', 'k', 0, 0, 0, 24,
        0x00, 0xFF, 0x51, 0x03, 0x06, 0x1A, 0x80,  // 400,000 us a quarter
        0x00, 0x99, note, 100,
        0x60, note, 90,
        0x60, note, 80,
        0x60, note, 70,
        0x60, 0xFF, 0x2F, 0x00};
    // clang-format on
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

TEST_F(PhraseDataTest, FileNameReadsTheFileOnlyTheFirstTime) {
    const auto dir =
        std::filesystem::temp_directory_path() / ("tavrel-phrase-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    writeSmallSmf(dir / "a.mid", 36);
    writeSmallSmf(dir / "b.mid", 38);

    phrase.setFileName((dir / "a.mid").string());
    ASSERT_EQ(phrase.getSeqDataCount(), 5);
    EXPECT_EQ(phrase.getTempo(), 150);
    EXPECT_EQ(phrase.getTotalTicks(), 384);
    EXPECT_EQ(phrase.getSeqData()->front().note, 36);

    phrase.setFileName((dir / "b.mid").string());
    EXPECT_EQ(phrase.getFileName(), (dir / "b.mid").string());
    EXPECT_EQ(phrase.getSeqData()->front().note, 36);

    CPhraseData missing;
    test::NotificationRecorder rec;
    missing.setFileName((dir / "none.mid").string());
    EXPECT_EQ(missing.getSeqData(), nullptr);
    EXPECT_EQ(missing.getTempo(), 120);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &missing), 1);
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace tavrel
