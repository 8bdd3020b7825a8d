#include "SelectionContainer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PolicyContainer.h"
#include "PolicyHeaderImpl.h"
#include "Raised.h"
#include "Selection.h"
#include "SelectionImpl.h"

namespace {

using namespace LumConf;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;

PolicyHeader MakeHeader(const char* id, const char* name, const char* type, const char* owner) {
    PolicyHeader header;
    header.SetContainerId(id);
    header.SetName(name);
    header.SetTypeName(type);
    header.SetOwner(owner);
    return header;
}

/// c: backup of files; a: backup of mail; b: "t:p" of other.
PolicyContainer MakeContainer() {
    PolicyContainer container;
    PolicyHeader c = MakeHeader("c", "backup", "Files", "Ann");
    c.SetCategory("night");
    c.SetCategory("all");
    c.SetAttribute("host", "one");
    c.SetAttribute("host", "two");
    PolicyHeader a = MakeHeader("a", "backup", "Mail", "Bob");
    a.SetCategory("Night");
    a.SetAttribute("host", "one");
    PolicyHeader b = MakeHeader("b", "t:p", "other", "");
    b.SetAttribute("path", "x=y");
    for (const PolicyHeader& header : {c, a, b}) container.Insert(header.GetImpl());
    return container;
}

std::string Picked(const PolicyContainer& container, const Selection& selection) {
    SelectionContainer picked;
    picked.Init(container, selection);
    std::string ids;
    for (int i = 0; i < picked.GetCount(); ++i) ids += picked.GetId(i).ToUtf8() + " ";
    return ids;
}

Selection Raw(int kind, const char* value) {
    Selection selection;
    selection.GetImpl().SetKind(kind);
    selection.GetImpl().SetValue(value);
    return selection;
}

TEST(SelectionContainer, EachKindPicksItsPoliciesInAscendingOrder) {
    const struct {
        const char* what;
        Selection selection;
        const char* ids;
    } rows[] = {
        {"all policies", Selection(), "a b c "},
        {"an id that is there", Selection().SetPolicyId("C"), "c "},
        {"an id that is not there", Selection().SetPolicyId("ABC"), "abc "},
        {"a name", Selection().SetPolicyName("backup"), "a c "},
        {"a name in another case", Selection().SetPolicyName("Backup"), ""},
        {"a type name in any case", Selection().SetPolicyTypeName("FILES"), "c "},
        {"a type name in capitals from the wire", Raw(2, "FILES"), ""},
        {"a category", Selection().SetPolicyCategory("night"), "c "},
        {"a category in another case", Selection().SetPolicyCategory("NIGHT"), ""},
        {"an owner", Selection().SetPolicyOwner("Ann"), "c "},
        {"an empty owner", Selection().SetPolicyOwner(""), "b "},
        {"owner and name", Selection().SetPolicyOwnerAndName("Bob", "backup"), "a "},
        {"owner and a name of another", Selection().SetPolicyOwnerAndName("Bob", "t:p"), ""},
        {"an attribute name, once for each attribute", Selection().SetPolicyAttribute("host"), "a c c "},
        {"an attribute", Selection().SetPolicyAttribute("host", "one"), "a c "},
        {"an attribute with a value that is not there", Selection().SetPolicyAttribute("host", "three"), ""},
        {"an attribute whose value holds an equals sign", Raw(7, "path=x=y"), "b "},
        {"name and type", Selection().SetPolicyNameAndTypeName("backup", "Mail"), "a "},
        {"name and type without a separator", Raw(9, "backup"), "a c "},
        {"name and an empty type", Raw(9, "backup="), "a c "},
        {"owner and name without a separator", Raw(5, "Ann"), ""},
        {"a type and a name with a colon between them", Selection().SetPolicyName("mail:backup"), "a "},
        {"a type in capitals before the colon", Selection().SetPolicyName("Mail:backup"), ""},
        {"a name that holds a colon itself", Selection().SetPolicyName("t:p"), ""},
        {"a colon with nothing before it", Selection().SetPolicyName(":backup"), "a c "},
        {"a colon with nothing behind it", Selection().SetPolicyName("mail:"), ""},
    };
    PolicyContainer container = MakeContainer();
    for (const auto& row : rows) EXPECT_EQ(Picked(container, row.selection), row.ids) << row.what;
}

TEST(SelectionContainer, TheNameBehindTheFirstColonMayHoldAnother) {
    PolicyContainer container;
    PolicyHeader header = MakeHeader("a", "x:y", "t", "");
    container.Insert(header.GetImpl());
    EXPECT_EQ(Picked(container, Selection().SetPolicyName("t:x:y")), "a ");
}

TEST(SelectionContainer, AnIdIsPickedFromAnEmptyContainerToo) {
    EXPECT_EQ(Picked(PolicyContainer(), Selection().SetPolicyId("ABC")), "abc ");
    EXPECT_EQ(Picked(PolicyContainer(), Selection()), "");
}

TEST(SelectionContainer, BeforeInitThereIsNothingToAsk) {
    SelectionContainer picked;
    EXPECT_RAISES(picked.GetCount(), IllegalStateError_t, 68);
    EXPECT_RAISES(picked.GetId(0), IllegalStateError_t, 68);
}

TEST(SelectionContainer, ASelectionOfNoKnownKindIsRefusedAndPicksNothing) {
    Selection selection;
    selection.GetImpl().Set(static_cast<SelectionKind>(10), "");
    SelectionContainer picked;
    EXPECT_RAISES(picked.Init(PolicyContainer(), selection), LumPalMsg::IllegalStateError_t, 69);
    EXPECT_RAISES(picked.GetCount(), LumPalMsg::IllegalStateError_t, 68);
}

TEST(SelectionContainer, ABadIndexIsReportedLikeAMissingInit) {
    SelectionContainer picked;
    picked.Init(MakeContainer(), Selection());
    EXPECT_RAISES(picked.GetId(-1), IllegalStateError_t, 68);
    EXPECT_RAISES(picked.GetId(3), IllegalStateError_t, 68);
    EXPECT_EQ(picked.GetId(2), "c");
}

TEST(SelectionContainer, InitReplacesWhatWasPicked) {
    SelectionContainer picked;
    picked.Init(MakeContainer(), Selection());
    picked.Init(MakeContainer(), Selection().SetPolicyOwner("Ann"));
    ASSERT_EQ(picked.GetCount(), 1);
    picked.Init(PolicyContainer(), Selection());
    EXPECT_EQ(picked.GetCount(), 0);
}

TEST(SelectionContainer, AllIdsAreHandedOverOnce) {
    const PolicyContainer container;
    for (const char* id : {"b", "a"}) container.Insert(MakeHeader(id, id, "t", "o").GetImpl());
    SelectionContainer selected;
    EXPECT_RAISES(selected.TakeIds(), IllegalStateError_t, 68);
    selected.Init(container, Selection());
    EXPECT_EQ(selected.TakeIds(), (std::vector<String_t>{"a", "b"}));
    EXPECT_RAISES(selected.TakeIds(), IllegalStateError_t, 68);
    EXPECT_RAISES(selected.GetCount(), IllegalStateError_t, 68);
}

}  // namespace
