#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavrel {
namespace {

class PatternMgrTest : public ::testing::Test {
protected:
    Context ctx;
    CPatternMgr& mgr = ctx.patterns();

    // Patterns named "0", "1", ... so that an order reads as a string.
    void fill(int n) {
        mgr.clearAllPtnData();
        for (int i = 0; i < n; ++i) mgr.addPatternData()->setName(std::to_string(i));
    }
    std::string order() {
        std::string s;
        for (const auto& p : mgr.getPtnData()) s += p->getName();
        return s;
    }
    std::string current() { return mgr.getCurPattarn() ? mgr.getCurPattarn()->getName() : "-"; }
};

TEST_F(PatternMgrTest, TheCurrentPatternShowsTheVariationTheEditorIsOn) {
    fill(3);
    mgr.setCurVariationNum(4);
    test::NotificationRecorder rec;
    mgr.setCurPatternNum(0);
    EXPECT_EQ(current(), "0");
    EXPECT_EQ(mgr.getCurPhrase(), mgr.getCurPattarn()->getPhraseAtVariation(4));
    EXPECT_EQ(rec.count(NOTIFY_PATTERN_PARM_CHANGED, &mgr), 2);  // variation, then pattern

    EXPECT_EQ(mgr.addPatternData()->getCurVairationNum(), 0);  // a new pattern starts at 0
    EXPECT_EQ(mgr.getCurPattarnNum(), 3);
    for (int beyond : {-1, 4}) {
        mgr.setCurPatternNum(beyond);
        EXPECT_EQ(mgr.getCurPattarn(), nullptr) << beyond;
        EXPECT_EQ(mgr.getCurPhrase(), nullptr) << beyond;
    }
}

TEST_F(PatternMgrTest, InsertingAndRemovingKeepANeighbourCurrent) {
    fill(3);
    mgr.setCurPatternNum(1);
    mgr.insertPatternData()->setName("N");
    EXPECT_EQ(order(), "0N12");
    EXPECT_EQ(current(), "N");
    mgr.removePatternData();
    mgr.removePatternData();
    EXPECT_EQ(order(), "02");
    EXPECT_EQ(current(), "2");
    mgr.removePatternData();  // the last row: the one above becomes current
    EXPECT_EQ(current(), "0");
    mgr.removePatternData();
    EXPECT_EQ(mgr.getCurPattarnNum(), -1);
    EXPECT_EQ(mgr.getCurPattarn(), nullptr);
}

TEST_F(PatternMgrTest, RemovingRowsNeverEmptiesTheListAndSelectsTheFirst) {
    struct Case {
        CPatternMgr::IndexSet rows;
        const char* order;
    };
    // The first row is kept whenever as many rows as there are patterns are named.
    for (const Case& c :
         {Case{{0, 1, 2}, "0"}, Case{{1}, "02"}, Case{{0, 1}, "2"}, Case{{0, 1, 7}, "02"}}) {
        fill(3);
        mgr.setCurPatternNum(2);
        mgr.removePatternData(c.rows);
        EXPECT_EQ(order(), c.order);
        EXPECT_EQ(mgr.getCurPattarnNum(), 0);
        EXPECT_EQ(current(), std::string(1, c.order[0]));
    }

    // Clearing (before a file is read) posts nothing and leaves the current pattern alone.
    fill(2);
    mgr.setActive();
    test::NotificationRecorder rec;
    mgr.clearAllPtnData();
    EXPECT_FALSE(mgr.getActive());
    EXPECT_EQ(current(), "1");
    EXPECT_EQ(rec.total(), 0);
}

TEST_F(PatternMgrTest, MovingRowsPutsThemBeforeTheDropRow) {
    struct Case {
        std::int32_t row;
        CPatternMgr::IndexSet rows;
        const char* order;
        int current;
    };
    const std::vector<Case> cases{
        {1, {3}, "03124", 1},     // the moved pattern is current
        {3, {0}, "12034", 3},     // the old pattern 3 is current, not the moved one
        {5, {1, 2}, "03412", 4},  // past the end: appended, last row current
        {-1, {0}, "12340", 4},    // a negative row counts as past the end
        {2, {0, 4}, "10423", 2},
    };
    for (const auto& c : cases) {
        fill(5);
        mgr.movePatternData(c.row, c.rows);
        EXPECT_EQ(order(), c.order) << "drop at " << c.row;
        EXPECT_EQ(mgr.getCurPattarnNum(), c.current) << "drop at " << c.row;
        EXPECT_EQ(current(), std::string(1, c.order[c.current])) << "drop at " << c.row;
    }
}

}  // namespace
}  // namespace tavrel
