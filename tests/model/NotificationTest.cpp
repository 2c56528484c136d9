#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "model/PatternChange.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace tavrel {
namespace {

TEST(NotificationCenter, DeliversByNameWhileTheTokenLives) {
    Context ctx;
    int a = 0;
    int b = 0;
    {
        auto ta = ctx.notifications().addObserver("A", [&](const Notification& n) {
            EXPECT_EQ(n.object, &a);
            ++a;
        });
        NotificationCenter::Token tb;
        tb = ctx.notifications().addObserver("B", [&](const Notification&) {
            ++b;
            tb.reset();  // an observer may leave while it is being called
        });
        ctx.notifications().post("A", &a);
        ctx.notifications().post("B", nullptr);
        ctx.notifications().post("B", nullptr);
    }
    ctx.notifications().post("A", &a);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 1);

    NotificationCenter::Token outliving;
    {
        NotificationCenter centre;
        outliving = centre.addObserver("X", [](const Notification&) {});
    }
    outliving.reset();
}

TEST(EditNotify, PostsOnlyWhenTheMarkChangesAndEachContextHasItsOwn) {
    Context outer;
    test::NotificationRecorder rec;
    CEditNotify::clr();
    EXPECT_EQ(rec.total(), 0);
    CEditNotify::set();
    CEditNotify::set();
    EXPECT_TRUE(CEditNotify::isEdited());
    EXPECT_EQ(rec.count(NOTIFY_PARAM_CHANGED_MARK, CEditNotify::classObject()), 1);
    {
        Context inner;
        EXPECT_EQ(&Context::current(), &inner);
        EXPECT_FALSE(CEditNotify::isEdited());
        CEditNotify::set();  // posted on the inner context's centre
    }
    EXPECT_EQ(&Context::current(), &outer);
    EXPECT_EQ(rec.count(NOTIFY_PARAM_CHANGED_MARK), 1);
    CEditNotify::clr();
    CEditNotify::clr();
    EXPECT_FALSE(CEditNotify::isEdited());
    EXPECT_EQ(rec.count(NOTIFY_PARAM_CHANGED_MARK), 2);
}

// Every change record of the posts `action` makes, as "kind field pattern variation [rows]",
// with a K in front for NOTIFY_UPDATE_PARM.
std::vector<std::string> recordsOf(const std::function<void()>& action) {
    std::vector<std::string> seen;
    std::vector<NotificationCenter::Token> tokens;
    for (const auto name : {NOTIFY_PATTERN_PARM_CHANGED, NOTIFY_UPDATE_PARM}) {
        tokens.push_back(
            Context::current().notifications().addObserver(name, [&](const Notification& n) {
                std::ostringstream line;
                const PatternChange& c = *n.change;
                if (n.name == NOTIFY_UPDATE_PARM) line << 'K';
                line << static_cast<int>(c.kind) << ' ' << static_cast<int>(c.field) << ' '
                     << c.pattern << ' ' << c.variation;
                for (const auto row : c.rows) line << ' ' << row;
                seen.push_back(line.str());
            }));
    }
    action();
    return seen;
}

TEST(ChangeRecords, SayWhichPatternVariationAndFieldChanged) {
    using K = PatternChange::Kind;
    using F = PatternChange::Field;
    const auto rec = [](K k, F f, int pattern, int variation = -1, std::string rows = "") {
        return std::to_string(static_cast<int>(k)) + ' ' + std::to_string(static_cast<int>(f)) +
               ' ' + std::to_string(pattern) + ' ' + std::to_string(variation) + rows;
    };
    Context ctx;
    CPatternMgr& patterns = ctx.patterns();
    for (int i = 0; i < 4; ++i) patterns.addPatternData();
    const auto second = patterns.getPtnData()[1];
    const StepRecords notes(8, StepRecord{96, 36, 100});
    second->getPhraseAtVariation(3)->setSeqData(notes.data(), 8);
    const std::vector<std::pair<std::function<void()>, std::vector<std::string>>> cases = {
        {[&] { second->setTempo(90); }, {rec(K::Parameter, F::Tempo, 1)}},
        {[&] { second->setKitNum(4); }, {'K' + rec(K::Parameter, F::Kit, 1)}},
        {[&] { second->getPhraseAtVariation(3)->setBars(2); }, {rec(K::Parameter, F::Bars, 1, 3)}},
        {[&] { second->getPhraseAtVariation(3)->setFrom(1); },
         {rec(K::Parameter, F::Bars, 1, 3), rec(K::Parameter, F::From, 1, 3)}},
        // A new pattern shows its Intro before it joins the list.
        {[&] { patterns.addPatternData(); },
         {rec(K::Parameter, F::CurrentVariation, -1), rec(K::Inserted, F::None, 4)}},
        {[&] {
             patterns.removePatternData(CPatternMgr::IndexSet{0, 2});
         },
         {rec(K::Parameter, F::CurrentVariation, 0), rec(K::Current, F::None, -1),
          rec(K::Current, F::None, -1), rec(K::Removed, F::None, -1, -1, " 0 2")}},
        {[&] { patterns.movePatternData(0, {2}); },
         {rec(K::Parameter, F::CurrentVariation, 0), rec(K::Current, F::None, -1),
          rec(K::Current, F::None, -1), rec(K::Moved, F::None, 0, -1, " 2")}},
        {[&] {
             CPatternMgr::Batch outer(patterns);
             CPatternMgr::Batch inner(patterns);
             second->setName("X");
             second->setKitNum(1);
         },
         {rec(K::Reset, F::None, -1)}},
        // Kits alone are still no edit.
        {[&] {
             CPatternMgr::Batch batch(patterns);
             second->setKitNum(2);
             second->setKitNum(3);
         },
         {'K' + rec(K::Reset, F::None, -1)}},
        {[&] { CPatternMgr::Batch nothing(patterns); }, {}},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(recordsOf(cases[i].first), cases[i].second) << "case " << i;
    }
}

}  // namespace
}  // namespace tavrel
