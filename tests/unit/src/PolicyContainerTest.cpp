// The cache of policy headers.
#include "PolicyContainer.h"

#include <gtest/gtest.h>

#include "Exceptions.h"
#include "PolicyContainerImpl.h"
#include "PolicyDocs.h"
#include "Tenfold.h"

namespace {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumConf::PolicyNotFoundError;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using policydocs::IdRaised;

PolicyHeader Insert(const PolicyContainer& container, const char* id, const char* name, const char* type) {
    const PolicyHeader header;
    header.SetContainerId(id);
    header.SetName(name);
    header.SetTypeName(type);
    container.Insert(header.GetImpl());
    return header;
}

std::string Ids(const PolicyContainer& container) {
    std::string ids;
    for (int i = 0; i < container.GetCount(); ++i) ids += container.GetPolicyHeader(i).GetContainerId().ToUtf8() + " ";
    return ids;
}

TEST(PolicyContainer, ANewContainerIsEmpty) {
    const PolicyContainer container;
    EXPECT_EQ(container.GetCount(), 0);
    EXPECT_TRUE(container.IsEmpty());
    EXPECT_FALSE(container.HasTypeName(""));
}

TEST(PolicyContainer, CopiesShareTheObject) {
    const PolicyContainer container;
    const PolicyContainer copy(container);
    PolicyContainer assigned;
    assigned = container;
    Insert(copy, "a", "n", "t");
    EXPECT_EQ(container.GetCount(), 1);
    EXPECT_EQ(assigned.GetCount(), 1);
    EXPECT_TRUE(PolicyContainer().IsEmpty());
}

TEST(PolicyContainer, IndexesFollowTheOrderOfTheIds) {
    const PolicyContainer container;
    for (const char* id : {"b", "a10", "a", "a2"}) Insert(container, id, id, "t");
    EXPECT_EQ(Ids(container), "a a10 a2 b ");
    Insert(container, "a1", "new", "t");
    EXPECT_EQ(Ids(container), "a a1 a10 a2 b ");
    container.Remove("a10");
    EXPECT_EQ(Ids(container), "a a1 a2 b ");
}

TEST(PolicyContainer, ABadIndexIsToldWithItsNumber) {
    const PolicyContainer container;
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { container.GetPolicyHeader(0); }), 62u);
    Insert(container, "a", "n", "t");
    for (int bad : {-1, container.GetCount(), 2147483647}) {
        const auto failure = policydocs::Raised<IllegalArgumentError_t>([&] { container.GetPolicyHeader(bad); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->Id(), 62u);
        EXPECT_TRUE(failure->Says("'" + std::to_string(bad) + "'"));
    }
}

TEST(PolicyContainer, AnIdIsFoundInAnyCase) {
    const PolicyContainer container;
    Insert(container, "abc", "n", "t");
    EXPECT_EQ(container.GetPolicyHeader("ABC").GetContainerId(), "abc");
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader("abcd"); }), 63u);
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader(""); }), 63u);
}

TEST(PolicyContainer, ANameIsComparedExactlyAndATypeInAnyCase) {
    const PolicyContainer container;
    Insert(container, "a", "Name", "Type");
    EXPECT_EQ(container.GetPolicyHeader("Name", "TYPE").GetContainerId(), "a");
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader("name", "type"); }), 689u);
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader("Name", "other"); }), 689u);
}

TEST(PolicyContainer, EveryLookUpByNameChecksNameAndType) {
    const PolicyContainer container;
    Insert(container, "a", "n", "t");
    void (*const calls[])(const PolicyContainer&, const String_t&, const String_t&) = {
        [](const PolicyContainer& c, const String_t& n, const String_t& t) { c.GetPolicyHeader(n, t); },
        [](const PolicyContainer& c, const String_t& n, const String_t& t) { c.Enable(n, t); },
        [](const PolicyContainer& c, const String_t& n, const String_t& t) { c.Disable(n, t); },
        [](const PolicyContainer& c, const String_t& n, const String_t& t) { c.Remove(n, t); },
    };
    for (const auto& call : calls) {
        EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { call(container, "a=b", "t"); }), 71u);
        EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { call(container, "n", "a=b"); }), 71u);
        EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { call(container, "", "t"); }), 70u);
        EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { call(container, "n", " "); }), 70u);
        EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { call(container, "n", "u"); }), 689u);
    }
    EXPECT_EQ(container.GetCount(), 1);
}

TEST(PolicyContainer, ANullHeaderIsRefusedWithAPlainText) {
    const auto failure = policydocs::Raised<IllegalArgumentError_t>([] { PolicyContainer().Insert(nullptr); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 0u);
    EXPECT_TRUE(failure->Says("Internal error adding <NULL> pointer for policy container."));
}

TEST(PolicyContainer, AnInsertedHeaderIsSharedAndMayReadItsData) {
    const PolicyContainer container;
    const PolicyHeader header = Insert(container, "a", "n", "t");
    EXPECT_TRUE(header.GetImpl()->IsDataReadAllowed());
    EXPECT_EQ(container.GetPolicyHeader("a").GetImpl(), header.GetImpl());
    header.SetOwner("changed");
    EXPECT_EQ(container.GetPolicyHeader(0).GetOwner(), "changed");
    EXPECT_FALSE(PolicyHeader().GetImpl()->IsDataReadAllowed());
}

TEST(PolicyContainer, TheSameIdReplaces) {
    const PolicyContainer container;
    Insert(container, "a", "n", "t");
    Insert(container, "b", "m", "t");
    const PolicyHeader newcomer = Insert(container, "A", "n", "t");
    EXPECT_EQ(container.GetCount(), 2);
    EXPECT_EQ(container.GetPolicyHeader("a").GetImpl(), newcomer.GetImpl());
    EXPECT_EQ(container.GetPolicyHeader("n", "t").GetImpl(), newcomer.GetImpl());
}

TEST(PolicyContainer, ANewIdWithAKnownNameAndTypeReplaces) {
    const PolicyContainer container;
    Insert(container, "old", "n", "t");
    Insert(container, "other", "n", "u");
    Insert(container, "new", "n", "T");
    EXPECT_EQ(Ids(container), "new other ");
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader("old"); }), 63u);
    EXPECT_EQ(container.GetPolicyHeader("n", "t").GetContainerId(), "new");
}

TEST(PolicyContainer, WhereIdAndNameStandForTwoPoliciesBothGo) {
    const PolicyContainer container;
    Insert(container, "a", "n", "t");
    Insert(container, "b", "m", "t");
    Insert(container, "a", "m", "t");
    EXPECT_EQ(Ids(container), "a ");
    EXPECT_EQ(container.GetPolicyHeader("m", "t").GetContainerId(), "a");
}

TEST(PolicyContainer, AnOldNameKeepsPointingAtAnIdThatCameBackUnderANewOne) {
    const PolicyContainer container;
    Insert(container, "a", "old", "t");
    Insert(container, "a", "new", "t");
    EXPECT_EQ(container.GetPolicyHeader("old", "t").GetName(), "new");
    container.Remove("a");
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader("old", "t"); }), 63u);
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader("new", "t"); }), 689u);
    Insert(container, "b", "old", "t");
    EXPECT_EQ(container.GetPolicyHeader("old", "t").GetContainerId(), "b");
}

TEST(PolicyContainer, EnableAndDisableChangeEveryPolicyThatIsThere) {
    const PolicyContainer container;
    Insert(container, "a", "n", "t");
    Insert(container, "c", "m", "t");
    container.Disable(" A  c ");
    EXPECT_TRUE(container.GetPolicyHeader("a").IsDisabled());
    EXPECT_TRUE(container.GetPolicyHeader("c").IsDisabled());
    const auto failure = policydocs::Raised<PolicyNotFoundError>([&] { container.Enable("a b c d"); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->ids, (std::vector<unsigned>{60, 60}));
    EXPECT_TRUE(failure->Says("policy id 'b' the status cannot be changed to 'enabled'"));
    EXPECT_TRUE(failure->Says("policy id 'd'"));
    EXPECT_TRUE(container.GetPolicyHeader("a").IsEnabled());
    EXPECT_TRUE(container.GetPolicyHeader("c").IsEnabled());
    const auto disabled = policydocs::Raised<PolicyNotFoundError>([&] { container.Disable("x"); });
    ASSERT_TRUE(disabled);
    EXPECT_TRUE(disabled->Says("to 'disabled'"));
}

TEST(PolicyContainer, AnEmptyListOfIdsChangesNothing) {
    const PolicyContainer container;
    Insert(container, "a", "n", "t");
    for (const char* none : {"", "   "}) {
        container.Enable(none);
        container.Disable(none);
        container.Remove(none);
    }
    EXPECT_TRUE(container.GetPolicyHeader("a").IsEnabled());
}

TEST(PolicyContainer, EnableDisableAndRemoveByNameMeanThatPolicy) {
    const PolicyContainer container;
    Insert(container, "a", "n", "t");
    Insert(container, "b", "n", "u");
    container.Disable("n", "T");
    EXPECT_TRUE(container.GetPolicyHeader("a").IsDisabled());
    EXPECT_TRUE(container.GetPolicyHeader("b").IsEnabled());
    container.Enable("n", "t");
    EXPECT_TRUE(container.GetPolicyHeader("a").IsEnabled());
    container.Remove("n", "t");
    EXPECT_EQ(Ids(container), "b ");
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.Remove("n", "t"); }), 689u);
}

TEST(PolicyContainer, RemoveTakesWhatIsThereAndTellsWhatIsNot) {
    const PolicyContainer container;
    Insert(container, "a", "n", "t");
    Insert(container, "b", "m", "t");
    const auto failure = policydocs::Raised<PolicyNotFoundError>([&] { container.Remove("x A y"); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->ids, (std::vector<unsigned>{61, 61}));
    EXPECT_TRUE(failure->Says("'x'"));
    EXPECT_EQ(Ids(container), "b ");
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.GetPolicyHeader("n", "t"); }), 689u);
}

TEST(PolicyContainer, AFetchedHeaderSurvivesItsRemovalAndTheContainer) {
    PolicyHeader header;
    {
        const PolicyContainer container;
        Insert(container, "a", "n", "t");
        header = container.GetPolicyHeader(0);
        container.Remove("a");
        EXPECT_EQ(header.GetName(), "n");
    }
    EXPECT_EQ(header.GetContainerId(), "a");
}

TEST(PolicyContainer, TypeNamesAreThereAsLongAsAPolicyOfThem) {
    const PolicyContainer container;
    Insert(container, "a", "n", "T");
    Insert(container, "b", "m", "t");
    EXPECT_TRUE(container.HasTypeName("t"));
    EXPECT_FALSE(container.HasTypeName("T"));
    EXPECT_FALSE(container.IsEmpty());
    container.Remove("a");
    EXPECT_TRUE(container.HasTypeName("t"));
    Insert(container, "b", "m", "u");
    EXPECT_FALSE(container.HasTypeName("t"));
    EXPECT_TRUE(container.HasTypeName("u"));
    container.Remove("b");
    EXPECT_FALSE(container.HasTypeName("u"));
    EXPECT_TRUE(container.IsEmpty());
}

TEST(PolicyContainerOptions, EachSetterFoldsItsValueAndReplacesTheKind) {
    using Options = PolicyContainer::Options;
    Options options;
    EXPECT_EQ(options.GetKind(), Options::Kind::All);
    EXPECT_EQ(options.SetPolicyId("ABC").GetKind(), Options::Kind::Id);
    EXPECT_EQ(options.GetValue(), "abc");
    EXPECT_EQ(options.SetPolicyTypeName("TYPE").GetKind(), Options::Kind::TypeName);
    EXPECT_EQ(options.GetValue(), "type");
    EXPECT_EQ(options.SetPolicyNameAndTypeName("Name=Type").GetKind(), Options::Kind::NameAndTypeName);
    EXPECT_EQ(options.GetValue(), "name=type");
    const Options copy(options);
    EXPECT_EQ(options.SetAllPolicies().GetKind(), Options::Kind::All);
    EXPECT_EQ(options.GetValue(), "");
    EXPECT_EQ(copy.GetValue(), "name=type");
}

TEST(PolicyContainer, TheOnlyPolicyOfATypeIsFoundByItsType) {
    const PolicyContainer container;
    const auto only = [&](const char* type) { return container.GetImpl()->OnlyIdOfType(type).ToUtf8(); };
    EXPECT_EQ(only("t"), "");
    Insert(container, "a", "n", "t");
    Insert(container, "z", "n", "u");
    EXPECT_EQ(only("t"), "a");
    EXPECT_EQ(only("u"), "z");
    EXPECT_EQ(only(""), "");
    Insert(container, "b", "m", "t");
    EXPECT_EQ(only("t"), "") << "there are two";
    container.Remove("a");
    EXPECT_EQ(only("t"), "b");
    Insert(container, "b", "m", "t");
    EXPECT_EQ(only("t"), "b") << "replaced by one of the same id";
    Insert(container, "c", "m", "t");
    EXPECT_EQ(only("t"), "c") << "replaced by one of the same name";
    Insert(container, "c", "m", "other");
    EXPECT_EQ(only("t"), "") << "now of another type";
    EXPECT_EQ(only("other"), "c");
    container.Remove("c");
    EXPECT_EQ(only("other"), "");
}

TEST(PolicyContainer, WhichOneIsLeftOfSeveralOfATypeMayNotBeKnownButIsNeverWrong) {
    const PolicyContainer container;
    for (const char* id : {"a", "b", "c"}) Insert(container, id, id, "t");
    container.Remove("b c");
    const std::string only = container.GetImpl()->OnlyIdOfType("t").ToUtf8();
    EXPECT_TRUE(only.empty() || only == "a") << only;
}

TEST(PolicyContainer, ManyIdsAreFoundInAnyOrderAndAsOftenAsTheyAreGiven) {
    const PolicyContainer container;
    std::vector<PolicyHeader> headers;
    for (const char* id : {"a", "b", "c", "d"}) headers.push_back(Insert(container, id, id, "t"));
    const auto found = container.GetImpl()->FindAll({"c", "d", "none", "a", "a", "b", "c", "D", "", "d"});
    std::string ids;
    for (const auto& header : found) ids += header ? header->GetContainerId().ToUtf8() : "-";
    EXPECT_EQ(ids, "cd-aabc--d");
}

TEST(PolicyContainer, ManyIdsAreChangedAndRemovedWhateverTheirOrder) {
    const PolicyContainer container;
    for (int i = 0; i < 100; ++i) {
        const std::string id = "p" + std::to_string(i);
        Insert(container, id.c_str(), id.c_str(), "t");
    }
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.Disable("P9 p8 none p99 p8 p10 p11"); }), 60u);
    for (const char* id : {"p8", "p9", "p10", "p11", "p99"}) EXPECT_TRUE(container.GetPolicyHeader(id).IsDisabled());
    EXPECT_TRUE(container.GetPolicyHeader("p12").IsEnabled());
    EXPECT_EQ(IdRaised<PolicyNotFoundError>([&] { container.Remove("p1 p10 p11 p10 p99 p5 p50 p51 P52"); }), 61u);
    EXPECT_EQ(container.GetCount(), 92);
    EXPECT_THROW(container.GetPolicyHeader("p51", "t"), PolicyNotFoundError);
    EXPECT_EQ(container.GetPolicyHeader("p53", "t").GetContainerId(), "p53");
}

TEST(PolicyContainer, AFileThatIsAskedForOverAndOverCostsNoMoreThanOnce) {
    EXPECT_LT(TenfoldRatio(300,
                           [](int count) {
                               const PolicyContainer container;
                               for (int i = 0; i < count; ++i) {
                                   const PolicyHeader header;
                                   header.SetContainerId(String_t::FromUtf8("p" + std::to_string(i)));
                                   header.SetName(header.GetContainerId());
                                   header.SetDataFile("x");
                                   container.Insert(header.GetImpl());
                               }
                               const std::vector<String_t> files(static_cast<std::size_t>(count), "x");
                               int found = 0;
                               const double seconds =
                                   ProcessorSeconds([&] { found = container.GetImpl()->Naming(files)->GetCount(); });
                               EXPECT_EQ(found, count);
                               return seconds;
                           }),
              kMostForTenfold);
}

}  // namespace
