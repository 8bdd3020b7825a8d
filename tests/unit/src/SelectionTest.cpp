#include "Selection.h"

#include <gtest/gtest.h>

#include "Raised.h"
#include "SelectionImpl.h"

namespace {

using namespace LumConf;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

void ExpectIs(const Selection& selection, int kind, const char* value) {
    EXPECT_EQ(static_cast<int>(selection.GetImpl().GetKind()), kind);
    EXPECT_EQ(selection.GetImpl().GetValue(), value);
}

TEST(Selection, ANewSelectionMeansAllPolicies) {
    Selection selection;
    ExpectIs(selection, 8, "");
    EXPECT_EQ(selection.GetImpl().GetVersion(), 1);
}

TEST(Selection, EachSetterMakesItsKindAndItsValue) {
    ExpectIs(Selection().SetPolicyId("ABC-1"), 0, "abc-1");
    ExpectIs(Selection().SetPolicyName("Name"), 1, "Name");
    ExpectIs(Selection().SetPolicyTypeName("Type"), 2, "type");
    ExpectIs(Selection().SetPolicyCategory("Cat"), 3, "Cat");
    ExpectIs(Selection().SetPolicyOwner("Owner"), 4, "Owner");
    ExpectIs(Selection().SetPolicyOwnerAndName("Owner", "Name"), 5, "Owner=Name");
    ExpectIs(Selection().SetPolicyAttribute("Attr"), 6, "Attr");
    ExpectIs(Selection().SetPolicyAttribute("Attr", "Val"), 7, "Attr=Val");
    ExpectIs(Selection().SetPolicyId("x").SetAll(), 8, "");
    ExpectIs(Selection().SetPolicyNameAndTypeName("Name", "Type"), 9, "Name=type");
}

TEST(Selection, ANameAndATypeNameCombineInEitherOrder) {
    ExpectIs(Selection().SetPolicyName("p").SetPolicyTypeName("T"), 9, "p=t");
    ExpectIs(Selection().SetPolicyTypeName("T").SetPolicyName("p"), 9, "p=t");
}

TEST(Selection, ARawTypeNameIsFoldedWhenItCombines) {
    Selection selection;
    selection.GetImpl().SetKind(2);
    selection.GetImpl().SetValue("TYPE");
    ExpectIs(selection.SetPolicyName("p"), 9, "p=type");
}

TEST(Selection, TheSameSetterTwiceKeepsTheSecondValue) {
    ExpectIs(Selection().SetPolicyTypeName("a").SetPolicyTypeName("b"), 2, "b");
    ExpectIs(Selection().SetPolicyName("a").SetPolicyName("b"), 1, "b");
}

TEST(Selection, OnACombinedSelectionASetterMakesItsOwnKind) {
    ExpectIs(Selection().SetPolicyName("p").SetPolicyTypeName("t").SetPolicyName("q"), 1, "q");
    ExpectIs(Selection().SetPolicyName("p").SetPolicyTypeName("t").SetPolicyTypeName("u"), 2, "u");
    ExpectIs(Selection().SetPolicyOwner("o").SetPolicyName("p"), 1, "p");
}

TEST(Selection, SettersWithACheckRefuseEmptyTextsAndEqualsSigns) {
    for (const char* bad : {"", "  ", "a=b"}) {
        unsigned id = String_t(bad) == "a=b" ? 71 : 70;
        Selection s;
        EXPECT_RAISES(s.SetPolicyName(bad), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyTypeName(bad), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyOwnerAndName(bad, "n"), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyOwnerAndName("o", bad), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyNameAndTypeName(bad, "t"), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyNameAndTypeName("n", bad), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyAttribute(bad), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyAttribute(bad, "v"), IllegalArgumentError_t, id);
        EXPECT_RAISES(s.SetPolicyAttribute("n", bad), IllegalArgumentError_t, id);
        ExpectIs(s, 8, "");
    }
}

TEST(Selection, IdCategoryAndOwnerAreNotChecked) {
    ExpectIs(Selection().SetPolicyId(""), 0, "");
    ExpectIs(Selection().SetPolicyId("A=B"), 0, "a=b");
    ExpectIs(Selection().SetPolicyCategory("a=b"), 3, "a=b");
    ExpectIs(Selection().SetPolicyOwner(""), 4, "");
}

TEST(Selection, ANumberThatIsNoKindMeansAllPolicies) {
    for (int number : {-1, 8, 10, 12, 2147483647, -2147483647}) {
        SelectionImpl impl;
        impl.SetKind(0);
        impl.SetKind(number);
        EXPECT_EQ(impl.GetKind(), SelectionKind::All) << number;
    }
    for (int number : {0, 1, 2, 3, 4, 5, 6, 7, 9}) {
        SelectionImpl impl;
        impl.SetKind(number);
        EXPECT_EQ(static_cast<int>(impl.GetKind()), number);
    }
}

TEST(Selection, EachKindDescribesItself) {
    EXPECT_EQ(Selection().SetPolicyId("a").Describe(), "Policy selection: policy id 'a'.");
    EXPECT_EQ(Selection().Describe(), "Policy selection: All policies.");
    EXPECT_EQ(Selection().SetPolicyName("n").Describe(), "Policy selection: 'policy name': 'n'.");
    EXPECT_EQ(Selection().SetPolicyTypeName("t").Describe(), "Policy selection: 'policy type name': 't'.");
    EXPECT_EQ(Selection().SetPolicyCategory("c").Describe(), "Policy selection: 'policy category': 'c'.");
    EXPECT_EQ(Selection().SetPolicyOwner("o").Describe(), "Policy selection: 'policy owner': 'o'.");
    EXPECT_EQ(Selection().SetPolicyOwnerAndName("o", "n").Describe(),
              "Policy selection: 'policy owner and name': 'o=n'.");
    EXPECT_EQ(Selection().SetPolicyAttribute("a").Describe(), "Policy selection: 'policy attribute name': 'a'.");
    EXPECT_EQ(Selection().SetPolicyAttribute("a", "v").Describe(), "Policy selection: 'policy attribute': 'a=v'.");
    EXPECT_EQ(Selection().SetPolicyNameAndTypeName("n", "t").Describe(),
              "Policy selection: 'policy name and type': 'n=t'.");
}

TEST(Selection, ACopyIsIndependentAndCarriesTheVersion) {
    Selection original;
    original.SetPolicyName("before").GetImpl().SetVersion(5);
    Selection copy(original), assigned;
    assigned = original;
    original.SetPolicyOwner("after");
    for (const Selection* other : {&copy, &assigned}) {
        ExpectIs(*other, 1, "before");
        EXPECT_EQ(other->GetImpl().GetVersion(), 5);
    }
}

}  // namespace
