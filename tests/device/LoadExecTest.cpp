#include "device/CLoadExec.h"

#include "device/LinkFixture.h"
#include "files/CFileDataMgr.h"
#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
using test::ScriptedUnit;

class LoadExec : public test::LinkFixture {
protected:
    void SetUp() override {
        makeUnit();
        connect();
    }
    // The unit's pattern file, holding the patterns named.
    void writePatternFile(const std::vector<std::string>& names) {
        CPatternMgr& patterns = context->patterns();
        for (const auto& name : names) patterns.addPatternData()->setName(name);
        ASSERT_TRUE(CFileDataMgr::exportData(unitRoot / "VANTIK" / "DATA" / "RHYTHM.QL0"));
        patterns.clearAllPtnData();
        patterns.setCurPatternNum(-1);
    }
    void behave(const std::function<void(ScriptedUnit::Behaviour&)>& change) {
        ScriptedUnit::Behaviour b;
        change(b);
        unit->behave(b);
    }
    std::vector<std::string> steps() {
        std::vector<std::string> found;
        for (const char* step :
             {"set editor mode", "mount check", "Get Kit name", "Load Pattern"}) {
            if (log.count(std::string("device: ") + step) == 1) found.push_back(step);
        }
        return found;
    }
};

TEST_F(LoadExec, AResponsiveUnitIsLoadedWithoutIdleSecondsAndPatternZeroIsCurrent) {
    writePatternFile({"Funk        ", "Waltz       "});
    behave([](auto& b) { b.replyDelay = 250ms; });
    ASSERT_FALSE(link->getOccupied());
    const auto start = elapsed();

    EXPECT_TRUE(CLoadExec::exec());

    // Editor on, mount and the kit list, each answered 250 ms late.
    EXPECT_EQ(elapsed() - start, 750ms);
    EXPECT_EQ(steps(), (std::vector<std::string>{"set editor mode", "mount check", "Get Kit name",
                                                 "Load Pattern"}));
    EXPECT_EQ(context->kits().getKitArray().size(), 3u);
    ASSERT_EQ(context->patterns().getPtnData().size(), 2u);
    EXPECT_EQ(context->patterns().getPtnData()[1]->getName(), "Waltz       ");
    EXPECT_EQ(context->patterns().getCurPattarnNum(), 0);
    EXPECT_EQ(link->getEditorMode(), 1);
    EXPECT_EQ(link->getMount(), 1);
    EXPECT_TRUE(alerts.shown.empty());
}

TEST_F(LoadExec, AUnitHeldByAnotherEditorIsOnlyReportedAndNothingIsSent) {
    behave([](auto& b) { b.heldByOther = true; });
    ASSERT_TRUE(link->getOccupied());
    const auto heardBefore = unit->heard().size();

    EXPECT_FALSE(CLoadExec::exec());

    EXPECT_EQ(alertTexts(), std::vector<std::string>{"Unit already occupied."});
    EXPECT_EQ(unit->heard().size(), heardBefore);
    EXPECT_EQ(steps(), std::vector<std::string>{"set editor mode"});
}

TEST_F(LoadExec, StorageThatNeverShowsUpEndsTheSequenceQuietlyBeforeTheKitNames) {
    writePatternFile({"Funk        "});
    behave([](auto& b) { b.volumeNeverAppears = true; });
    ASSERT_FALSE(link->getOccupied());
    const auto start = elapsed();

    EXPECT_FALSE(CLoadExec::exec());

    // The unit reports mounting at once; the volume is looked for 4 s, then a last second.
    EXPECT_EQ(elapsed() - start, 5000ms);
    EXPECT_EQ(steps(), (std::vector<std::string>{"set editor mode", "mount check"}));
    EXPECT_EQ(log.count("RQ KIT"), 0);
    EXPECT_TRUE(alerts.shown.empty());
    EXPECT_EQ(link->getEditorMode(), 1) << "left as the failing step left it";
    EXPECT_TRUE(context->patterns().getPtnData().empty());
}

TEST_F(LoadExec, AnUnreadablePatternFileIsReadFiveTimesThenReported) {
    std::filesystem::create_directories(unitRoot / "VANTIK" / "DATA" / "RHYTHM.QL0");
    ASSERT_FALSE(link->getOccupied());
    const auto start = elapsed();

    EXPECT_FALSE(CLoadExec::exec());

    EXPECT_EQ(elapsed() - start, 5000ms);
    EXPECT_EQ(alertTexts(), std::vector<std::string>{"User pattern file format is wrong."});
    EXPECT_EQ(context->patterns().getCurPattarnNum(), 0) << "untouched";
}

}  // namespace
}  // namespace tavrel
