#include "PolicyForwarder.h"

#include <gtest/gtest.h>

#include "AnswerRows.h"
#include "PolicyForwarderImpl.h"
#include "PolicyHeader.h"
#include "Raised.h"
#include "SimulatedNode.h"

namespace LumConf {
namespace {

using LumPalMsg::IllegalArgumentError_t;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;
using Options = PolicyForwarder::Options;

const char* const kHost = "localhost";

String_t Describe(const Selection& selection) {
    return selection.Describe();
}

// Operations on selected policies.

struct OperationRow {
    const char* what;
    int mode;
    const char* text;
    void (*bare)(const PolicyForwarder&, const Selection&);
    void (*withOptions)(const PolicyForwarder&, const Selection&, const Options&);
};

/// One row: the call in both of its forms, with the arguments between host and selection.
#define OPERATION(mode, text, method, ...)                                                                       \
    {                                                                                                            \
#method "(" #__VA_ARGS__ ")", mode, text,                                                                      \
     [](const PolicyForwarder& f, const Selection& s) { f.method(kHost, __VA_ARGS__ __VA_OPT__(, ) s); },           \
     [](const PolicyForwarder& f, const Selection& s, const Options& o) {                                           \
         f.method(kHost, __VA_ARGS__ __VA_OPT__(, ) s, o);                                                          \
     } \
    }

const OperationRow kOperations[] = {
    OPERATION(4, "", Remove),
    OPERATION(3, "", Enable),
    OPERATION(2, "", Disable),
    OPERATION(5, "Owner", SetOwner, "Owner"),
    OPERATION(5, " Owner ", SetOwner, " Owner "),
    OPERATION(5, "", SetOwner, ""),
    OPERATION(5, "", SetOwner, String_t::Null()),
    OPERATION(5, "a=b", SetOwner, "a=b"),
    OPERATION(6, "Category", AddCategory, "Category"),
    OPERATION(6, "two words", AddCategory, " \ttwo words\n"),
    OPERATION(6, "a=b", AddCategory, "a=b"),
    OPERATION(7, "Category", RemoveCategory, "Category"),
    OPERATION(7, " ", RemoveCategory, " "),
    OPERATION(7, " \tCategory ", RemoveCategory, " \tCategory "),
    OPERATION(8, "", RemoveAllCategories),
    OPERATION(9, "Name=Value", AddAttribute, "Name", "Value"),
    OPERATION(9, "Name=a value", AddAttribute, " Name\t", "\n a value "),
    OPERATION(9, "Name=", AddAttribute, "Name", ""),
    OPERATION(9, "Name=", AddAttribute, "Name", "  "),
    OPERATION(9, "Name=", AddAttribute, "Name", String_t::Null()),
    OPERATION(9, "Name=a=b", AddAttribute, "Name", "a=b"),
    OPERATION(10, "Name=Value", RemoveAttribute, "Name", "Value"),
    OPERATION(10, " Name = Value\t", RemoveAttribute, " Name ", " Value\t"),
    OPERATION(11, "", RemoveAllAttributes),
};

TEST(PolicyForwarder, EveryOperationSendsItsModeItsTextAndTheSelection) {
    const SimulatedNode node;
    const PolicyForwarder forwarder;
    for (const OperationRow& row : kOperations) {
        row.bare(forwarder, Selection().SetPolicyNameAndTypeName("Name", "Type"));
        const ReceivedRequest request = node.Last();
        EXPECT_EQ(request.method, "policyOp") << row.what;
        EXPECT_EQ(request.mode, row.mode) << row.what;
        EXPECT_EQ(request.text, row.text) << row.what;
        EXPECT_EQ(Describe(request.selection), "Policy selection: 'policy name and type': 'Name=type'.") << row.what;
        EXPECT_TRUE(request.options.GetNotify()) << row.what;
    }
    EXPECT_EQ(node.ReceivedCount(), std::size(kOperations));
}

TEST(PolicyForwarder, EveryOperationHasAFormWithOptions) {
    const SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    const PolicyForwarder forwarder;
    for (const OperationRow& row : kOperations) {
        row.withOptions(forwarder, Selection(), Options().SetNotify(false).SetTargetID("node-1"));
        const ReceivedRequest request = node.Last();
        EXPECT_EQ(request.mode, row.mode) << row.what;
        EXPECT_EQ(request.text, row.text) << row.what;
        EXPECT_EQ(Describe(request.selection), "Policy selection: All policies.") << row.what;
        EXPECT_FALSE(request.options.GetNotify()) << row.what;
        EXPECT_THROW(row.withOptions(forwarder, Selection(), Options().SetTargetID("node-2")), ConnectException_t)
            << row.what;
    }
    EXPECT_EQ(node.ReceivedCount(), std::size(kOperations));
}

TEST(PolicyForwarder, EveryOperationRaisesWhatTheNodeAnswers) {
    SimulatedNode node;
    const PolicyForwarder forwarder;
    for (const OperationRow& row : kOperations) {
        for (const AnswerRow& answer : answers::selection) {
            node.Answer(answer.value, "no");
            ExpectAnswerRow(answer, kHost, "", "no", [&] { row.bare(forwarder, Selection()); });
        }
    }
}

TEST(PolicyForwarder, EveryOperationNeedsAHost) {
    const SimulatedNode node;
    const PolicyForwarder f;
    const Selection s;
    EXPECT_RAISES(f.Remove(" ", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Enable("", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Disable("", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.SetOwner("", "o", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.AddCategory("", "c", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.RemoveCategory("", "c", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.RemoveAllCategories("", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.AddAttribute("", "n", "v", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.RemoveAttribute("", "n", "v", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.RemoveAllAttributes("", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Notify(""), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Notify("", "node-1"), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.List("", s), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.List("", s, "node-1"), IllegalArgumentError_t, 129);
    EXPECT_RAISES(PolicyForwarderImpl().ReinitCache("", ""), IllegalArgumentError_t, 129);
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

// What is refused before anything is sent, also before the host is looked at.

const char* const kEmptyAttribute = "Parameter for policy attribute is empty or <NULL> which is not allowed.";
const String_t kNull = String_t::Null();

TEST(PolicyForwarder, ACategoryToAddMustNotBeBlank) {
    const SimulatedNode node;
    const PolicyForwarder forwarder;
    for (const String_t& category : {String_t(""), String_t(" "), String_t(" \t\r\n "), String_t::Null()}) {
        for (const char* host : {kHost, ""}) {
            const auto messages =
                MessagesOf<IllegalArgumentError_t>([&] { forwarder.AddCategory(host, category, Selection()); });
            EXPECT_EQ(messages.GetMessage(0).GetId(), 151u);
            EXPECT_EQ(messages.GetMessage(0).GetMessageText(),
                      "Category field for add category is empty. Specify at least one category to add.");
            EXPECT_RAISES(forwarder.AddCategory(host, category, Selection(), Options()), IllegalArgumentError_t, 151);
        }
    }
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(PolicyForwarder, ACategoryToRemoveMustNotBeEmpty) {
    const SimulatedNode node;
    const PolicyForwarder forwarder;
    for (const String_t& category : {String_t(""), String_t::Null()}) {
        for (const char* host : {kHost, ""}) {
            const auto messages =
                MessagesOf<IllegalArgumentError_t>([&] { forwarder.RemoveCategory(host, category, Selection()); });
            EXPECT_EQ(messages.GetMessage(0).GetId(), 152u);
            EXPECT_EQ(messages.GetMessage(0).GetMessageText(),
                      "Category field for remove category is empty. Specify at least one category to remove.");
            EXPECT_RAISES(forwarder.RemoveCategory(host, category, Selection(), Options()), IllegalArgumentError_t,
                          152);
        }
    }
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

struct AttributeRow {
    String_t name, value;
    unsigned addId, removeId;  ///< 0: is sent
};

TEST(PolicyForwarder, AttributesAreCheckedMoreStrictlyForARemoval) {
    const SimulatedNode node;
    const PolicyForwarder forwarder;
    const AttributeRow rows[] = {
        {"", "v", 70, 70},   {" ", "v", 70, 70},   {kNull, "v", 70, 70}, {"\t\n", "v", 70, 70}, {"a=b", "v", 71, 71},
        {"=", "v", 71, 71},  {" = ", "v", 71, 71}, {"n", "", 0, 70},     {"n", " \t", 0, 70},   {"n", kNull, 0, 70},
        {"n", "a=b", 0, 71}, {"n", "=", 0, 71},    {"", "a=b", 70, 70},  {"a=", "", 71, 71},
    };
    std::size_t sent = 0;
    for (const AttributeRow& row : rows) {
        for (const bool withOptions : {false, true}) {
            const auto add = [&] {
                withOptions ? forwarder.AddAttribute(kHost, row.name, row.value, Selection(), Options())
                            : forwarder.AddAttribute(kHost, row.name, row.value, Selection());
            };
            const auto remove = [&] {
                withOptions ? forwarder.RemoveAttribute(kHost, row.name, row.value, Selection(), Options())
                            : forwarder.RemoveAttribute(kHost, row.name, row.value, Selection());
            };
            if (row.addId) {
                EXPECT_RAISES(add(), IllegalArgumentError_t, row.addId);
            } else {
                EXPECT_NO_THROW(add());
                ++sent;
            }
            EXPECT_RAISES(remove(), IllegalArgumentError_t, row.removeId);
        }
    }
    EXPECT_EQ(node.ReceivedCount(), sent);
    EXPECT_RAISES(forwarder.AddAttribute("", "", "v", Selection()), IllegalArgumentError_t, 70);
    EXPECT_RAISES(forwarder.RemoveAttribute("", "n", "", Selection()), IllegalArgumentError_t, 70);
    EXPECT_EQ(MessagesOf<IllegalArgumentError_t>([&] { forwarder.AddAttribute(kHost, "", "v", Selection()); })
                  .GetMessage(0)
                  .GetMessageText(),
              kEmptyAttribute);
}

// Operations on the node as a whole.

TEST(PolicyForwarder, NotifySendsDefaultsAndDoesNothingWithATarget) {
    const SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    const PolicyForwarder forwarder;
    forwarder.Notify(kHost);
    forwarder.Notify(kHost, "node-1");
    forwarder.Notify(kHost, "no such node");
    ASSERT_EQ(node.ReceivedCount(), 3u);
    for (const ReceivedRequest& request : node.Received()) {
        EXPECT_EQ(request.method, "policyOp");
        EXPECT_EQ(request.mode, 13);
        EXPECT_EQ(request.text, "");
        EXPECT_EQ(Describe(request.selection), Describe(Selection()));
        EXPECT_TRUE(request.options.GetNotify());
    }
}

TEST(PolicyForwarder, ReinitCacheSendsDefaultsToTheTarget) {
    const SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    const PolicyForwarderImpl forwarder;
    forwarder.ReinitCache(kHost, "node-1");
    forwarder.ReinitCache(kHost, "");
    EXPECT_THROW(forwarder.ReinitCache(kHost, "node-2"), ConnectException_t);
    ASSERT_EQ(node.ReceivedCount(), 2u);
    for (const ReceivedRequest& request : node.Received()) {
        EXPECT_EQ(request.method, "policyOp");
        EXPECT_EQ(request.mode, 15);
        EXPECT_EQ(request.text, "");
        EXPECT_EQ(Describe(request.selection), Describe(Selection()));
        EXPECT_TRUE(request.options.GetNotify());
    }
}

TEST(PolicyForwarder, NotifyAndReinitCacheRaiseWhatTheNodeAnswers) {
    SimulatedNode node;
    const PolicyForwarder forwarder;
    const PolicyForwarderImpl impl;
    for (const AnswerRow& row : answers::selection) {
        node.Answer(row.value, "no");
        ExpectAnswerRow(row, kHost, "", "no", [&] { forwarder.Notify(kHost); });
        ExpectAnswerRow(row, kHost, "", "no", [&] { forwarder.Notify(kHost, "node-1"); });
        ExpectAnswerRow(row, kHost, "", "no", [&] { impl.ReinitCache(kHost, ""); });
    }
}

// Lists.

TEST(PolicyForwarder, AListBringsAContainerOfItsOwn) {
    SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    NodeAnswer answer;
    PolicyHeader header;
    header.SetContainerId("p1");
    answer.list.Insert(header.GetImpl());
    node.Answer(answer);
    const PolicyForwarder forwarder;
    const PolicyContainer first = forwarder.List(kHost, Selection().SetPolicyOwner("Owner"));
    EXPECT_EQ(Describe(node.Last().selection), "Policy selection: 'policy owner': 'Owner'.");
    const PolicyContainer second = forwarder.List(kHost, Selection(), "node-1");
    EXPECT_EQ(node.Last().method, "list");
    EXPECT_THROW(forwarder.List(kHost, Selection(), "node-2"), ConnectException_t);
    EXPECT_EQ(node.ReceivedCount(), 2u);
    second.GetPolicyHeader("p1").SetName("changed");
    EXPECT_EQ(first.GetPolicyHeader("p1").GetName(), "");
}

TEST(PolicyForwarder, AListOfThoseThatNameDataFilesIsAListOfTheirTypeToANodeThatKnowsNoBetter) {
    SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    NodeAnswer answer;
    PolicyHeader header;
    header.SetContainerId("p1");
    answer.list.Insert(header.GetImpl());
    node.Answer(answer);
    const PolicyForwarder forwarder;
    const PolicyContainer list = forwarder.ListNaming(kHost, "Type", {"a"}, "node-1");
    EXPECT_EQ(list.GetPolicyHeader(0).GetDataFileCount(), 0);
    EXPECT_EQ(Describe(node.Last().selection), "Policy selection: 'policy type name': 'type'.");
    EXPECT_THROW(forwarder.ListNaming(kHost, "Type", {"a"}, "node-2"), ConnectException_t);
    EXPECT_RAISES(forwarder.ListNaming(kHost, " ", {"a"}, ""), IllegalArgumentError_t, 70);
    EXPECT_RAISES(forwarder.ListNaming("", "Type", {"a"}, ""), IllegalArgumentError_t, 129);
    EXPECT_EQ(node.ReceivedCount(), 1u);
    node.Answer(answers::list[0].value, "none");
    EXPECT_THROW(forwarder.ListNaming(kHost, "Type", {"a"}, ""), NoPoliciesInstalledError);
}

TEST(PolicyForwarder, AListRaisesWhatTheNodeAnswers) {
    SimulatedNode node;
    const PolicyForwarder forwarder;
    for (const AnswerRow& row : answers::list) {
        node.Answer(row.value, "no");
        ExpectAnswerRow(row, kHost, "", "no", [&] { forwarder.List(kHost, Selection()); });
        ExpectAnswerRow(row, kHost, "", "no", [&] { forwarder.List(kHost, Selection(), ""); });
    }
}

// The handle.

TEST(PolicyForwarder, CopiesShareTheMessenger) {
    const TempRoot root;
    const PolicyForwarder first, copy(first);
    PolicyForwarder assigned;
    EXPECT_NE(assigned.GetVoxMessenger().GetImpl(), first.GetVoxMessenger().GetImpl());
    assigned = first;
    assigned = *&assigned;
    EXPECT_EQ(&copy.GetVoxMessenger(), &first.GetVoxMessenger());
    EXPECT_EQ(&assigned.GetVoxMessenger(), &first.GetVoxMessenger());
    EXPECT_FALSE(first.GetVoxMessenger().IsNull());
}

TEST(PolicyForwarder, ACopyOutlivesTheFirst) {
    const SimulatedNode node;
    auto first = std::make_unique<PolicyForwarder>();
    const PolicyForwarder copy(*first);
    first.reset();
    copy.Notify(kHost);
    EXPECT_EQ(node.ReceivedCount(), 1u);
}

TEST(PolicyForwarder, UsesTheMessengerThatItIsGivenAndNeverClosesIt) {
    const SimulatedNode node;
    {
        const PolicyForwarder forwarder(node.GetMessenger());
        EXPECT_EQ(forwarder.GetVoxMessenger().GetImpl(), node.GetMessenger().GetImpl());
        forwarder.Remove(kHost, Selection(), Options().SetCloseConnection(true));
        forwarder.Remove(kHost, Selection(), Options().SetCloseConnection(true));
    }
    EXPECT_TRUE(node.GetMessenger().IsServing());
    EXPECT_EQ(node.ReceivedCount(), 2u);
}

TEST(PolicyForwarder, GoesOnAfterTheNodeWasNotThere) {
    auto gone = std::make_unique<SimulatedNode>();
    const PolicyForwarder forwarder;
    gone->Close();
    EXPECT_THROW(forwarder.Notify(kHost), ConnectException_t);
    EXPECT_THROW(forwarder.List(kHost, Selection()), ConnectException_t);
    EXPECT_RAISES(forwarder.AddCategory(kHost, "", Selection()), IllegalArgumentError_t, 151);
}

}  // namespace
}  // namespace LumConf
