#include "model/CEditNotify.h"
#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "model/NotificationCenter.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

TEST(NotificationCenter, DeliversByNameUntilTheTokenGoes) {
    Context ctx;
    int a = 0;
    int b = 0;
    auto ta = ctx.notifications().addObserver("A", [&](const Notification& n) {
        EXPECT_EQ(n.name, "A");
        EXPECT_EQ(n.object, &a);
        ++a;
    });
    {
        auto tb = ctx.notifications().addObserver("B", [&](const Notification&) { ++b; });
        ctx.notifications().post("A", &a);
        ctx.notifications().post("B", nullptr);
    }
    ctx.notifications().post("B", nullptr);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 1);
}

TEST(NotificationCenter, ObserverMayUnregisterItselfWhilePosting) {
    Context ctx;
    int calls = 0;
    NotificationCenter::Token token;
    token = ctx.notifications().addObserver("X", [&](const Notification&) {
        ++calls;
        token.reset();
    });
    ctx.notifications().post("X", nullptr);
    ctx.notifications().post("X", nullptr);
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, TokenOutlivingTheCentreIsHarmless) {
    NotificationCenter::Token token;
    {
        NotificationCenter centre;
        token = centre.addObserver("X", [](const Notification&) {});
    }
    token.reset();
}

TEST(EditNotify, PostsOnlyWhenTheMarkChanges) {
    Context ctx;
    test::NotificationRecorder rec;
    EXPECT_FALSE(CEditNotify::isEdited());
    CEditNotify::clr();
    EXPECT_EQ(rec.total(), 0);
    CEditNotify::set();
    CEditNotify::set();
    EXPECT_TRUE(CEditNotify::isEdited());
    EXPECT_EQ(rec.count(NOTIFY_PARAM_CHANGED_MARK, CEditNotify::classObject()), 1);
    CEditNotify::clr();
    CEditNotify::clr();
    EXPECT_FALSE(CEditNotify::isEdited());
    EXPECT_EQ(rec.count(NOTIFY_PARAM_CHANGED_MARK), 2);
}

TEST(Context, NestedContextsGiveFreshObjectsAndRestoreTheOuterOne) {
    Context outer;
    outer.patterns().addPatternData();
    EXPECT_TRUE(CEditNotify::isEdited());
    {
        Context inner;
        EXPECT_EQ(&Context::current(), &inner);
        EXPECT_TRUE(inner.patterns().getPtnData().empty());
        EXPECT_FALSE(CEditNotify::isEdited());
    }
    EXPECT_EQ(&Context::current(), &outer);
    EXPECT_EQ(outer.patterns().getPtnData().size(), 1u);
    EXPECT_TRUE(CEditNotify::isEdited());
}

TEST(Context, InstalledObjectsAreFoundByType) {
    struct Service {
        int value = 7;
    };
    Context ctx;
    EXPECT_EQ(ctx.find<Service>(), nullptr);
    ctx.install(std::make_unique<Service>());
    ASSERT_NE(ctx.find<Service>(), nullptr);
    EXPECT_EQ(ctx.find<Service>()->value, 7);
}

}  // namespace
}  // namespace tavrel
