#include "model/CEditNotify.h"
#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tavrel
