#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavrel {
namespace {

// A note, then the end marker `ticks` after the start.
void give(CPhraseData& v, int ticks) {
    const auto half = static_cast<std::uint16_t>(ticks / 2);
    const StepRecords r{{half, 36, 100}, {static_cast<std::uint16_t>(ticks - half), 0, 0}};
    v.setSeqData(r.data(), 2);
}

class VariationTest : public ::testing::Test {
protected:
    Context ctx;
    CPhraseData phrase;
};

TEST_F(VariationTest, TotalBarsDropAPartBeatThenRoundUpWholeBeats) {
    SharedStepRecords first;
    for (const auto& [ticks, bars] :
         std::vector<std::pair<int, int>>{{1536, 4}, {1580, 4}, {1632, 5}, {95, 0}, {96, 1}}) {
        phrase.setFrom(1);
        give(phrase, ticks);
        EXPECT_EQ(phrase.getTotalBars(), bars) << ticks << " ticks";
        EXPECT_EQ(phrase.getFrom(), 0);
        EXPECT_EQ(phrase.getBars(), bars);
        if (!first) first = phrase.getSeqData();
    }
    EXPECT_EQ(first->back().delta, 768) << "new notes leave the old array to its holder";
    phrase.setSeqData(nullptr, 0);
    EXPECT_EQ(phrase.getTotalBars(), 0);
    EXPECT_EQ(phrase.getSeqDataCount(), 0);
}

TEST_F(VariationTest, NewNotesPostOnlyWhileSomethingIsBeingEdited) {
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

TEST_F(VariationTest, WindowIsClampedToThePhrase) {
    give(phrase, 5 * 384);  // 5 bars of 4/4
    test::NotificationRecorder rec;
    phrase.setFrom(5);  // at the total: ignored without a word
    EXPECT_EQ(phrase.getFrom(), 0);
    EXPECT_EQ(rec.total(), 0);

    phrase.setFrom(4);  // last bar: the window shrinks to it
    EXPECT_EQ(phrase.getBars(), 1);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &phrase), 2);
    phrase.setFrom(2);
    phrase.setBars(8);
    EXPECT_EQ(phrase.getBars(), 3);
    phrase.setFrom(-1);  // no lower bound; the window fits and keeps its length
    EXPECT_EQ(phrase.getFrom(), -1);
    EXPECT_EQ(phrase.getBars(), 3);
}

TEST_F(VariationTest, ANewTimeSignatureKeepsTheWindowsPlaceAndFillsFallBackToOneBar) {
    struct Case {
        int variation, from, bars, nume, deno;
        int wantFrom, wantBars, wantTotal;
    };
    // 3,072 ticks are 32 quarters: 8 bars of 4/4.
    const std::vector<Case> cases = {
        {0, 2, 4, 3, 4, 2, 5, 11},  // 8 beats are 2.67 bars of 3, 16 beats 5.33 bars
        {0, 2, 4, 6, 8, 2, 5, 11},  // in eighths: 16 and 32 of them
        {0, 2, 4, 2, 4, 4, 8, 16}, {0, 0, 0, 3, 4, 0, 1, 11},  // never less than one bar
        {8, 0, 2, 3, 4, 0, 1, 11},                             // D Fill
        {9, 0, 2, 3, 4, 0, 2, 11},                             // Ending
    };
    for (const Case& c : cases) {
        CPhraseData v;
        v.setVariNum(c.variation);
        give(v, 3072);
        v.setFrom(c.from);
        v.setBars(c.bars);
        test::NotificationRecorder rec;
        v.renewPhraseNumerator(c.nume, c.deno);
        const std::string what = "variation " + std::to_string(c.variation) + " to " +
                                 std::to_string(c.nume) + "/" + std::to_string(c.deno);
        EXPECT_EQ(v.getFrom(), c.wantFrom) << what;
        EXPECT_EQ(v.getBars(), c.wantBars) << what;
        EXPECT_EQ(v.getTotalBars(), c.wantTotal) << what;
        EXPECT_EQ(v.getNume(), c.nume) << what;
        EXPECT_EQ(v.getDeno(), c.deno) << what;
        EXPECT_EQ(rec.total(), 0) << what;
    }
    phrase.renewPhraseNumerator(3, 4);  // no notes: keeps its own signature
    EXPECT_EQ(phrase.getNume(), 4);
    EXPECT_EQ(phrase.getTotalBars(), 16);
}

TEST(Pattern, EditsPostOnChangeButAKitIsNotAnEdit) {
    Context ctx;
    test::NotificationRecorder rec;
    CPtnDataMgr p;
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &p), 1);  // a new pattern is an edit
    EXPECT_TRUE(CEditNotify::isEdited());
    CEditNotify::clr();
    rec.clear();

    p.setKitNum(7);
    EXPECT_EQ(rec.count(NOTIFY_UPDATE_PARM, &p), 1);
    p.setNume(4);  // unchanged signatures post nothing
    p.setDeno(4);
    EXPECT_EQ(rec.total(), 1);
    EXPECT_FALSE(CEditNotify::isEdited());

    p.setTempo(120);  // the same tempo still counts
    p.setNume(3);
    p.setDeno(8);
    p.setName("x");
    p.setCurVariationNum(3);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &p), 5);
    EXPECT_TRUE(CEditNotify::isEdited());
    p.setCurVariationNum(12);
    EXPECT_EQ(p.getCurPhrase(), nullptr);
}

TEST(Pattern, RenewingTheSignatureReachesEveryVariationAndPostsOnce) {
    Context ctx;
    CPtnDataMgr p;
    for (int v = 0; v < 9; ++v) give(*p.getPhraseAtVariation(v), 3072);  // the Ending stays empty
    p.setNume(3);
    test::NotificationRecorder rec;
    p.renewPhraseNumerator();
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED), 1);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &p), 1);
    for (int v = 0; v < 9; ++v) EXPECT_EQ(p.getPhraseAtVariation(v)->getNume(), 3) << v;
    EXPECT_EQ(p.getPhraseAtVariation(9)->getNume(), 4);
}

}  // namespace
}  // namespace tavrel
