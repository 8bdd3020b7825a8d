#include "InstallOptions.h"

#include <gtest/gtest.h>

#include "InstallOptionsImpl.h"
#include "Raised.h"

namespace {

using namespace LumConf;
using LumPalMsg::IllegalArgumentError_t;

TEST(InstallOptions, NewOptionsNotifyAndLeaveEverythingElseAsItIs) {
    const InstallOptions options;
    const InstallOptionsImpl& impl = options.GetImpl();
    EXPECT_TRUE(impl.GetNotify());
    EXPECT_TRUE(impl.GetTargetID().IsEmpty());
    EXPECT_EQ(impl.GetState(), -1);
    EXPECT_FALSE(impl.GetForceState());
    EXPECT_FALSE(impl.GetCheckVersion());
    EXPECT_TRUE(impl.GetAddCategories().empty());
    EXPECT_TRUE(impl.GetRemoveCategories().empty());
    EXPECT_FALSE(impl.GetRemoveAllCategories());
    EXPECT_TRUE(impl.GetAddAttributes().empty());
    EXPECT_TRUE(impl.GetRemoveAttributes().empty());
    EXPECT_FALSE(impl.GetRemoveAllAttributes());
    EXPECT_TRUE(impl.GetOwner().IsEmpty());
    EXPECT_FALSE(impl.GetRemoveOwner());
    EXPECT_FALSE(impl.GetForceAll());
    EXPECT_FALSE(impl.GetForceOwner());
    EXPECT_FALSE(impl.GetForceCat());
    EXPECT_FALSE(impl.GetForceAttr());
    EXPECT_FALSE(impl.GetCloseConnection());
}

TEST(InstallOptions, EachSetterChangesItsFieldAndReturnsTheObject) {
    InstallOptions o;
    const InstallOptionsImpl& impl = o.GetImpl();
    InstallOptions* results[] = {&o.SetNotify(false),
                                 &o.SetTargetID("target"),
                                 &o.SetEnabled(),
                                 &o.ForceState(),
                                 &o.SetCheckVersion(true),
                                 &o.SetAddCategory("add"),
                                 &o.SetRemoveCategory("remove"),
                                 &o.SetRemoveAllCategories(true),
                                 &o.SetAddAttribute("name", "value"),
                                 &o.SetRemoveAttribute("old", "gone"),
                                 &o.SetRemoveAllAttributes(true),
                                 &o.SetOwner("owner"),
                                 &o.RemoveOwner(),
                                 &o.SetForceAll(true),
                                 &o.SetForceOwner(true),
                                 &o.SetForceCat(true),
                                 &o.SetForceAttr(true),
                                 &o.SetCloseConnection(true)};
    for (InstallOptions* result : results) EXPECT_EQ(result, &o);
    EXPECT_FALSE(impl.GetNotify());
    EXPECT_EQ(impl.GetTargetID(), "target");
    EXPECT_EQ(impl.GetState(), 1);
    EXPECT_TRUE(impl.GetForceState());
    EXPECT_TRUE(impl.GetCheckVersion());
    EXPECT_EQ(impl.GetAddCategories(), (InstallOptionsImpl::Strings{"add"}));
    EXPECT_EQ(impl.GetRemoveCategories(), (InstallOptionsImpl::Strings{"remove"}));
    EXPECT_TRUE(impl.GetRemoveAllCategories());
    EXPECT_EQ(impl.GetAddAttributes(), (InstallOptionsImpl::Attributes{{"name", "value"}}));
    EXPECT_EQ(impl.GetRemoveAttributes(), (InstallOptionsImpl::Attributes{{"old", "gone"}}));
    EXPECT_TRUE(impl.GetRemoveAllAttributes());
    EXPECT_EQ(impl.GetOwner(), "owner");
    EXPECT_TRUE(impl.GetRemoveOwner());
    EXPECT_TRUE(impl.GetForceAll());
    EXPECT_TRUE(impl.GetForceOwner());
    EXPECT_TRUE(impl.GetForceCat());
    EXPECT_TRUE(impl.GetForceAttr());
    EXPECT_TRUE(impl.GetCloseConnection());
}

TEST(InstallOptions, CategoriesAreKeptInOrderWithRepeatsAndUnchecked) {
    InstallOptions options;
    options.SetAddCategory("a").SetAddCategory("").SetAddCategory("a").SetRemoveCategory("x=y");
    EXPECT_EQ(options.GetImpl().GetAddCategories(), (InstallOptionsImpl::Strings{"a", "", "a"}));
    EXPECT_EQ(options.GetImpl().GetRemoveCategories(), (InstallOptionsImpl::Strings{"x=y"}));
}

TEST(InstallOptions, AnAttributeToAddMayHaveAnyValue) {
    InstallOptions options;
    options.SetAddAttribute("name", "").SetAddAttribute("name", "a=b");
    EXPECT_EQ(options.GetImpl().GetAddAttributes(), (InstallOptionsImpl::Attributes{{"name", ""}, {"name", "a=b"}}));
}

TEST(InstallOptions, AnAttributeToAddNeedsAName) {
    InstallOptions options;
    EXPECT_RAISES(options.SetAddAttribute(" ", "value"), IllegalArgumentError_t, 70);
    EXPECT_RAISES(options.SetAddAttribute("a=b", "value"), IllegalArgumentError_t, 71);
    EXPECT_TRUE(options.GetImpl().GetAddAttributes().empty());
}

TEST(InstallOptions, AnAttributeToRemoveNeedsANameAndAValue) {
    InstallOptions options;
    EXPECT_RAISES(options.SetRemoveAttribute("", "value"), IllegalArgumentError_t, 70);
    EXPECT_RAISES(options.SetRemoveAttribute("name", ""), IllegalArgumentError_t, 70);
    EXPECT_RAISES(options.SetRemoveAttribute("a=b", "value"), IllegalArgumentError_t, 71);
    EXPECT_RAISES(options.SetRemoveAttribute("name", "a=b"), IllegalArgumentError_t, 71);
    EXPECT_TRUE(options.GetImpl().GetRemoveAttributes().empty());
}

TEST(InstallOptions, TheLastStatusWins) {
    InstallOptions options;
    options.SetEnabled().SetDisabled();
    EXPECT_EQ(options.GetImpl().GetState(), 0);
    options.SetEnabled();
    EXPECT_EQ(options.GetImpl().GetState(), 1);
}

TEST(InstallOptions, AForcedStateStaysForced) {
    InstallOptions options;
    options.ForceState().ForceState().SetDisabled();
    EXPECT_TRUE(options.GetImpl().GetForceState());
}

TEST(InstallOptions, TheWireReachesTheFieldsThatCallersCannotSet) {
    InstallOptions options;
    options.GetImpl().SetState(7);
    options.GetImpl().SetRemoveOwner(true);
    options.GetImpl().SetForceState(true);
    options.GetImpl().SetForceState(false);
    EXPECT_EQ(options.GetImpl().GetState(), 7);
    EXPECT_TRUE(options.GetImpl().GetRemoveOwner());
    EXPECT_FALSE(options.GetImpl().GetForceState());
}

TEST(InstallOptions, ACopyDoesNotChangeWithItsOriginal) {
    InstallOptions original;
    original.SetOwner("before").SetAddCategory("one");
    InstallOptions copy(original), assigned;
    assigned.SetForceAll(true);
    assigned = original;
    original.SetOwner("after").SetAddCategory("two").SetNotify(false);
    for (const InstallOptions* other : {&copy, &assigned}) {
        EXPECT_EQ(other->GetImpl().GetOwner(), "before");
        EXPECT_EQ(other->GetImpl().GetAddCategories().size(), 1u);
        EXPECT_TRUE(other->GetImpl().GetNotify());
        EXPECT_FALSE(other->GetImpl().GetForceAll());
    }
}

}  // namespace
