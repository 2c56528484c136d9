#include "model/CEditNotify.h"
#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

#include <array>

namespace tavrel {
namespace {

class PatternMgrTest : public ::testing::Test {
protected:
    Context ctx;
    CPatternMgr& mgr = ctx.patterns();

    // Patterns named "0", "1", ... so that an order reads as a string.
    void fill(int n) {
        for (int i = 0; i < n; ++i) mgr.addPatternData()->setName(std::to_string(i));
    }
    std::string order() {
        std::string s;
        for (const auto& p : mgr.getPtnData()) s += p->getName();
        return s;
    }
    std::string current() { return mgr.getCurPattarn() ? mgr.getCurPattarn()->getName() : "-"; }
};

TEST_F(PatternMgrTest, StartsEmptyAndInactive) {
    EXPECT_TRUE(mgr.getPtnData().empty());
    EXPECT_FALSE(mgr.getActive());
    EXPECT_EQ(mgr.getCurPattarnNum(), 0);
    EXPECT_EQ(mgr.getCurPattarn(), nullptr);
    EXPECT_EQ(mgr.getCurPhrase(), nullptr);
    EXPECT_TRUE(ctx.kits().getKitArray().empty());
    EXPECT_FALSE(CEditNotify::isEdited());
}

TEST_F(PatternMgrTest, CurrentPatternCarriesTheVariationNumberOver) {
    fill(3);
    mgr.setCurVariationNum(4);
    EXPECT_EQ(mgr.getCurPattarn()->getCurVairationNum(), 4);
    test::NotificationRecorder rec;
    mgr.setCurPatternNum(0);
    EXPECT_EQ(current(), "0");
    EXPECT_EQ(mgr.getCurPhrase(), mgr.getCurPattarn()->getPhraseAtVariation(4));
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &mgr), 2);  // variation, then pattern

    auto added = mgr.addPatternData();  // a new pattern keeps its own variation 0
    EXPECT_EQ(mgr.getCurPattarnNum(), 3);
    EXPECT_EQ(added->getCurVairationNum(), 0);
    EXPECT_EQ(mgr.getCurVairationNum(), 4);

    rec.clear();
    mgr.setCurPatternNum(-1);
    EXPECT_EQ(mgr.getCurPattarn(), nullptr);
    EXPECT_EQ(mgr.getCurPattarnNum(), -1);
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &mgr), 1);
    mgr.setCurPatternNum(4);
    EXPECT_EQ(mgr.getCurPattarn(), nullptr);
}

TEST_F(PatternMgrTest, InsertGoesBeforeTheCurrentPattern) {
    fill(3);
    mgr.setCurPatternNum(1);
    mgr.insertPatternData()->setName("N");
    EXPECT_EQ(order(), "0N12");
    EXPECT_EQ(mgr.getCurPattarnNum(), 1);
    EXPECT_EQ(current(), "N");
}

TEST_F(PatternMgrTest, RemovingTheCurrentPatternSelectsItsNeighbour) {
    fill(3);
    mgr.setCurPatternNum(1);
    mgr.removePatternData();
    EXPECT_EQ(order(), "02");
    EXPECT_EQ(current(), "2");
    mgr.removePatternData();  // the last row: the one above becomes current
    EXPECT_EQ(order(), "0");
    EXPECT_EQ(mgr.getCurPattarnNum(), 0);
    mgr.removePatternData();
    EXPECT_EQ(order(), "");
    EXPECT_EQ(mgr.getCurPattarnNum(), -1);
    EXPECT_EQ(mgr.getCurPattarn(), nullptr);
}

TEST_F(PatternMgrTest, RemovingRowsAlwaysLeavesTheFirstCurrent) {
    fill(3);
    mgr.removePatternData({0, 1, 2});
    EXPECT_EQ(order(), "0");
    EXPECT_EQ(current(), "0");

    mgr.clearAllPtnData();
    fill(3);
    mgr.setCurPatternNum(2);
    mgr.removePatternData({1});
    EXPECT_EQ(order(), "02");
    EXPECT_EQ(mgr.getCurPattarnNum(), 0);

    mgr.removePatternData({0, 1, 7});  // more indices than patterns: the first survives
    EXPECT_EQ(order(), "0");
}

TEST_F(PatternMgrTest, MovingRowsPutsThemBeforeTheDropRow) {
    struct Case {
        std::int32_t row;
        CPatternMgr::IndexSet rows;
        const char* order;
        int current;
    };
    const std::array cases{
        Case{1, {3}, "03124", 1},     // the moved pattern is current
        Case{3, {0}, "12034", 3},     // the old pattern 3 is current, not the moved one
        Case{5, {1, 2}, "03412", 4},  // past the end: appended, last row current
        Case{-1, {0}, "12340", 4},    // a negative row counts as past the end
        Case{2, {0, 4}, "10423", 2},
    };
    for (const auto& c : cases) {
        mgr.clearAllPtnData();
        fill(5);
        mgr.movePatternData(c.row, c.rows);
        EXPECT_EQ(order(), c.order) << "drop at " << c.row;
        EXPECT_EQ(mgr.getCurPattarnNum(), c.current) << "drop at " << c.row;
        EXPECT_EQ(current(), std::string(1, c.order[c.current])) << "drop at " << c.row;
    }
}

TEST_F(PatternMgrTest, ClearingLeavesTheCurrentReferenceUntilTheNextSelection) {
    fill(2);
    mgr.setActive();
    CEditNotify::clr();
    test::NotificationRecorder rec;
    mgr.clearAllPtnData();
    EXPECT_FALSE(mgr.getActive());
    EXPECT_EQ(current(), "1");
    EXPECT_EQ(rec.total(), 0);
}

TEST_F(PatternMgrTest, LookupsFindTheEarliestMatch) {
    fill(3);
    mgr.getPtnData()[0]->setName("A");
    mgr.getPtnData()[2]->setName("A");
    EXPECT_EQ(mgr.getPatternDataByName("A"), mgr.getPtnData()[0]);
    EXPECT_EQ(mgr.getPatternDataByName("a"), nullptr);

    const StepRecords end{{384, 0, 0}};
    auto useFile = [&](int pattern, int variation, const std::string& path) {
        auto v =
            mgr.getPtnData()[static_cast<std::size_t>(pattern)]->getPhraseAtVariation(variation);
        v->setSeqData(end.data(), 1);  // a reader that fails keeps the path all the same
        v->setFileName(path);
    };
    useFile(0, 1, "/x/beat.mid");  // only the Intro names a pattern
    useFile(1, 0, "/tmp/other/BEAT.mid");
    useFile(2, 0, "/elsewhere/beat.smf");
    EXPECT_EQ(mgr.getPatternDataByFileName("/home/u/beat.mid"), mgr.getPtnData()[2]);
    EXPECT_EQ(mgr.getPatternDataByFileName("BEAT"), mgr.getPtnData()[1]);
    EXPECT_EQ(mgr.getPatternDataByFileName("beats.mid"), nullptr);
}

TEST(CopyString, PadsCutsAndTerminatesTheField) {
    std::array<std::uint8_t, 20> buf{};
    buf.fill(0xEE);
    CPatternMgr::copyString(buf, "ROCK", 0, 8);
    EXPECT_EQ(std::string(buf.begin(), buf.begin() + 8), "ROCK    ");
    EXPECT_EQ(buf[8], 0);
    EXPECT_EQ(buf[9], 0xEE);

    CPatternMgr::copyString(buf, "ABCDEFGHIJKLMNOPQ", 0, 16);
    EXPECT_EQ(std::string(buf.begin(), buf.begin() + 16), "ABCDEFGHIJKLMNOP");
    EXPECT_EQ(buf[16], 0);

    std::array<std::uint8_t, 5> small{};
    CPatternMgr::copyString(small, "LONG NAME", 0, 12);  // never past the buffer
    EXPECT_EQ(std::string(small.begin(), small.begin() + 4), "LONG");
    EXPECT_EQ(small[4], 0);
}

}  // namespace
}  // namespace tavrel
