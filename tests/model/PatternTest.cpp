#include "model/CEditNotify.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/CSeqData.h"
#include "model/Context.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

void give(CPhraseData& v, int ticks) {
    const StepRecords r{{static_cast<std::uint16_t>(ticks), 0, 0}};
    v.setSeqData(r.data(), 1);
}

TEST(Pattern, NewPatternHasTheDefaultsAndRaisesTheMark) {
    Context ctx;
    test::NotificationRecorder rec;
    CPtnDataMgr p;
    EXPECT_EQ(p.getName(), "NO NAME");
    EXPECT_EQ(p.getTempo(), 120);
    EXPECT_EQ(p.getNume(), 4);
    EXPECT_EQ(p.getDeno(), 4);
    EXPECT_EQ(p.getKitNum(), 0);
    EXPECT_EQ(p.getCurVairationNum(), 0);
    EXPECT_EQ(p.getCurPhrase(), p.getPhraseAtVariation(0));
    for (int i = 0; i < 10; ++i) {
        const auto v = p.getPhraseAtVariation(i);
        EXPECT_EQ(v->variNum(), i);
        EXPECT_EQ(v->getFrom(), 0);
        EXPECT_EQ(v->getBars(), 0);
        EXPECT_EQ(v->getTotalBars(), 16);
        EXPECT_EQ(v->getTempo(), 120);
        EXPECT_EQ(v->getSeqData(), nullptr);
    }
    EXPECT_EQ(p.getPhraseAtVariation(10), nullptr);
    EXPECT_EQ(p.getPhraseAtVariation(-1), nullptr);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &p), 1);
    EXPECT_TRUE(CEditNotify::isEdited());
}

TEST(Pattern, SettersPostExactlyTheirNotifications) {
    Context ctx;
    CPtnDataMgr p;
    CEditNotify::clr();
    test::NotificationRecorder rec;

    p.setKitNum(7);  // a kit is not an edit of the pattern's music
    EXPECT_EQ(rec.count(NOTIFY_UPDATE_PARM, &p), 1);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED), 0);
    EXPECT_FALSE(CEditNotify::isEdited());

    p.setNume(4);
    p.setDeno(4);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED), 0);
    p.setTempo(120);  // the same tempo still counts
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &p), 1);
    EXPECT_TRUE(CEditNotify::isEdited());
    p.setNume(3);
    p.setDeno(8);
    p.setName("  odd name longer than twelve ");
    p.setCurVariationNum(3);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &p), 5);
    EXPECT_EQ(p.getName(), "  odd name longer than twelve ");
    EXPECT_EQ(p.getCurPhrase(), p.getPhraseAtVariation(3));

    p.setCurVariationNum(12);  // no such variation: nothing current, nothing touched
    EXPECT_EQ(p.getCurPhrase(), nullptr);
}

TEST(Pattern, RenewingTheSignaturePostsOnceForTheWholePattern) {
    Context ctx;
    CPtnDataMgr p;
    for (int i = 0; i < 10; ++i) {
        if (i == 9) continue;  // the Ending stays empty
        give(*p.getPhraseAtVariation(i), 3072);
        p.getPhraseAtVariation(i)->setBars(2);
    }
    p.getPhraseAtVariation(1)->setBars(1);
    test::NotificationRecorder rec;
    p.setNume(3);
    rec.clear();
    p.renewPhraseNumerator();
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED), 1);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &p), 1);
    EXPECT_EQ(p.getPhraseAtVariation(2)->getBars(), 1);  // Verse Fill
    EXPECT_EQ(p.getPhraseAtVariation(1)->getBars(), 1);  // Verse: at least one bar
    EXPECT_EQ(p.getPhraseAtVariation(3)->getBars(), 2);  // Chorus
    EXPECT_EQ(p.getPhraseAtVariation(9)->getNume(), 4);  // empty Ending keeps 4/4
    EXPECT_EQ(p.getPhraseAtVariation(0)->getNume(), 3);
}

TEST(SeqData, OrdersByTimeThenNoteThenVelocityAndNeverSaysLess) {
    const CSeqData a(10, 36, 100);
    EXPECT_EQ(a.comparWithSortKey(CSeqData(9, 99, 127)), 1);
    EXPECT_EQ(a.comparWithSortKey(CSeqData(11, 0, 0)), 0);
    EXPECT_EQ(a.comparWithSortKey(CSeqData(10, 35, 127)), 1);
    EXPECT_EQ(a.comparWithSortKey(CSeqData(10, 37, 0)), 0);
    EXPECT_EQ(a.comparWithSortKey(CSeqData(10, 36, 99)), 1);
    EXPECT_EQ(a.comparWithSortKey(CSeqData(10, 36, 101)), 0);
    EXPECT_EQ(a.comparWithSortKey(CSeqData(10, 36, 100)), 0);
    EXPECT_EQ(CSeqData(10, 36, 100).comparWithSortKey(a), 0);
    const CSeqData fresh;
    EXPECT_EQ(fresh.time(), 0);
    EXPECT_EQ(fresh.note(), -1);
    EXPECT_EQ(fresh.velo(), -1);
}

}  // namespace
}  // namespace tavrel
