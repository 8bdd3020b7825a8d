#include "SettingsForwarder.h"

#include <gtest/gtest.h>

#include <thread>

#include "AnswerRows.h"
#include "Groups.h"
#include "Raised.h"
#include "ServerTest.h"
#include "SettingsForwarderImpl.h"
#include "SimulatedNode.h"

namespace LumConfPar {
namespace {

using LumPalArray::CharArray_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;
using Options = SettingsForwarder::Options;

const char* const kHost = "localhost";

CharArray_t Name(const char* utf8) {
    return CharArray_t(utf8);
}

Configuration_t ConfigurationOf(std::initializer_list<Setting> settings) {
    return GroupOf(settings).GetConfig(0);
}

struct OperationRow {
    const char* what;
    int mode;
    const char* group;  ///< as the node gets it
    void (*bare)(const SettingsForwarder&);
    void (*withOptions)(const SettingsForwarder&, const Options&);
};

#define OPERATION(mode, group, method, ...)                                                             \
    {                                                                                                   \
#method "(" #__VA_ARGS__ ")", mode, group,                                                            \
            [](const SettingsForwarder& f) { (void)f.method(kHost __VA_OPT__(, ) __VA_ARGS__); },             \
            [](const SettingsForwarder& f, const Options& o) {                                                \
                (void)f.method(kHost __VA_OPT__(, ) __VA_ARGS__, o);                                          \
            } \
    }

const OperationRow kOperations[] = {
    OPERATION(17, "", Get),
    OPERATION(17, "", Get, Name("a")),
    OPERATION(18, "", Set, ConfigGroup_t()),
    OPERATION(18, "[a]X=1;Y=2;[b]", Set, GroupOf({{"a", "X", "1"}, {"a", "Y", "2"}, {"b"}})),
    OPERATION(18, "[a]X=1;Y= 2 ;", Set, ConfigurationOf({{"a", "X", "1"}, {"a", "Y", " 2 "}})),
    OPERATION(18, "[a]", Set, ConfigurationOf({{"a"}})),
    OPERATION(19, "[a b]", Clear, Name("a b")),
    OPERATION(19, "[\xC3\xA4]", Clear, Name("\xC3\xA4")),
    OPERATION(20, "[a]X=DELETE_THIS_ATTRIBUTE;", Clear, Name("a"), Name("X")),
    OPERATION(20, "[\xC3\xA4]\xE2\x82\xAC=DELETE_THIS_ATTRIBUTE;", Clear, Name("\xC3\xA4"), Name("\xE2\x82\xAC")),
};

TEST(SettingsForwarder, EveryOperationSendsItsModeAndItsGroupToTheNodesOwnConfiguration) {
    const SimulatedNode node;
    const SettingsForwarder forwarder;
    for (const OperationRow& row : kOperations) {
        row.bare(forwarder);
        const ReceivedRequest request = node.Last();
        EXPECT_EQ(request.method, "configOp") << row.what;
        EXPECT_EQ(request.mode, row.mode) << row.what;
        EXPECT_EQ(request.package, "") << row.what;
        EXPECT_EQ(Shown(request.group), row.group) << row.what;
    }
    EXPECT_EQ(node.ReceivedCount(), std::size(kOperations));
}

TEST(SettingsForwarder, EveryOperationHasAFormWithOptions) {
    const SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    const SettingsForwarder forwarder;
    for (const OperationRow& row : kOperations) {
        row.withOptions(forwarder, Options().SetTargetID("node-1").SetLUMResourceGroup("rg 1"));
        const ReceivedRequest request = node.Last();
        EXPECT_EQ(request.mode, row.mode) << row.what;
        EXPECT_EQ(request.package, "rg 1") << row.what;
        EXPECT_EQ(Shown(request.group), row.group) << row.what;
        EXPECT_THROW(row.withOptions(forwarder, Options().SetTargetID("node-2")), ConnectException_t) << row.what;
    }
    EXPECT_EQ(node.ReceivedCount(), std::size(kOperations));
}

TEST(SettingsForwarder, EveryOperationRaisesWhatTheNodeAnswers) {
    SimulatedNode node;
    const SettingsForwarder forwarder;
    for (const OperationRow& row : kOperations) {
        for (const AnswerRow& answer : answers::configuration) {
            node.Answer(answer.value, "no");
            ExpectAnswerRow(answer, kHost, "", "no", [&] { row.bare(forwarder); });
        }
    }
    node.Answer(1);
    EXPECT_NO_THROW(forwarder.Get(kHost)) << "a forwarder goes on after failures";
}

TEST(SettingsForwarder, EveryOperationNeedsAHost) {
    const SimulatedNode node;
    const SettingsForwarder f;
    EXPECT_RAISES(f.Get(""), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Get(" ", Name("a")), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Set("\t", ConfigGroup_t()), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Set("", Configuration_t()), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Clear("", Name("a")), IllegalArgumentError_t, 129);
    EXPECT_RAISES(f.Clear(String_t::Null(), Name("a"), Name("X")), IllegalArgumentError_t, 129);
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(SettingsForwarder, WhatXmlCannotCarryIsRefusedAndNotSent) {
    const SimulatedNode node;
    const SettingsForwarder f;
    EXPECT_THROW(f.Clear(kHost, Name("a\x01")), IllegalArgumentError_t);
    EXPECT_THROW(f.Clear(kHost, Name("a"), Name("\x1F")), IllegalArgumentError_t);
    EXPECT_THROW(f.Set(kHost, GroupOf({{"a", "X", "\x08"}})), IllegalArgumentError_t);
    EXPECT_THROW(f.Set(kHost, ConfigurationOf({{"a", "\xEF\xBF\xBF", "1"}})), IllegalArgumentError_t);
    EXPECT_THROW(f.Get(kHost, Options().SetLUMResourceGroup("a\x02")), IllegalArgumentError_t);
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(SettingsForwarder, AGetBringsTheGroupThatTheNodeSends) {
    SimulatedNode node;
    NodeAnswer answer;
    answer.group = GroupOf({{"a", "X", "1"}, {"b", "Y", "\r\n\t \xF0\x9F\x98\x80"}, {"c"}});
    node.Answer(answer);
    EXPECT_EQ(Shown(SettingsForwarder().Get(kHost)), Shown(answer.group));
}

TEST(SettingsForwarder, AnAnswerMayHoldMoreNamespacesThanARequest) {
    SimulatedNode node;
    NodeAnswer answer;
    for (int i = 0; i <= LumConf::ConfigGroupSoapArg::kMostOfARequest; ++i)
        answer.group.GetConfig(LumPalStr::NumToStr(i));
    node.Answer(answer);
    EXPECT_EQ(SettingsForwarder().Get(kHost).GetConfigCount(), LumConf::ConfigGroupSoapArg::kMostOfARequest + 1);
}

TEST(SettingsForwarder, AGetOfANamespaceAsksForAllAndPicksIt) {
    SimulatedNode node;
    NodeAnswer answer;
    answer.group = GroupOf({{"a", "X", "1"}, {"\xC3\xA4", "Y", "2"}});
    node.Answer(answer);
    const Configuration_t picked = SettingsForwarder().Get(kHost, Name("\xC3\xA4"));
    EXPECT_EQ(picked.GetNamespace(), String_t::FromUtf8("\xC3\xA4"));
    EXPECT_EQ(picked.GetAttrCount(), 1);
    EXPECT_EQ(picked.GetValue("Y"), "2");
    EXPECT_EQ(node.Last().group.GetConfigCount(), 0);
}

TEST(SettingsForwarder, AGetOfANamespaceThatTheNodeDoesNotHaveIsEmptyAndNoError) {
    SimulatedNode node;
    NodeAnswer answer;
    answer.group = GroupOf({{"a", "X", "1"}});
    node.Answer(answer);
    const Configuration_t picked = SettingsForwarder().Get(kHost, Name("A"));
    EXPECT_EQ(picked.GetNamespace(), "A");
    EXPECT_EQ(picked.GetAttrCount(), 0);
}

TEST(SettingsForwarder, ASetLeavesTheCallersGroupAsItWas) {
    const SimulatedNode node;
    const ConfigGroup_t group = GroupOf({{"a", "X", "1"}});
    const SettingsForwarder forwarder;
    forwarder.Set(kHost, group);
    forwarder.Set(kHost, group.GetConfig("a"));
    EXPECT_EQ(Shown(group), "[a]X=1;");
}

TEST(SettingsForwarder, OptionsAreEmptyAtFirstAndAreCopiedAsValues) {
    Options options;
    EXPECT_EQ(options.GetTargetID(), "");
    EXPECT_EQ(options.GetLUMResourceGroup(), "");
    EXPECT_EQ(&options.SetTargetID("id"), &options);
    EXPECT_EQ(&options.SetLUMResourceGroup("group"), &options);
    Options copy(options), assigned;
    assigned = copy;
    options.SetTargetID("").SetLUMResourceGroup("");
    for (const Options& one : {copy, assigned}) {
        EXPECT_EQ(one.GetTargetID(), "id");
        EXPECT_EQ(one.GetLUMResourceGroup(), "group");
    }
}

TEST(SettingsForwarder, CopiesShareTheMessengerAndOutliveTheFirst) {
    const SimulatedNode node;
    auto first = std::make_unique<SettingsForwarder>();
    const SettingsForwarder copy(*first);
    SettingsForwarder assigned;
    assigned = *first;
    assigned = *&assigned;
    EXPECT_EQ(&copy.GetVoxMessenger(), &first->GetVoxMessenger());
    EXPECT_EQ(&assigned.GetVoxMessenger(), &copy.GetVoxMessenger());
    EXPECT_NE(&SettingsForwarder().GetVoxMessenger(), &copy.GetVoxMessenger());
    first.reset();
    copy.Get(kHost);
    assigned.Get(kHost);
    EXPECT_EQ(node.ReceivedCount(), 2u);
}

TEST(SettingsForwarder, AGivenMessengerIsSharedAndKeepsServing) {
    const SimulatedNode node;
    {
        const SettingsForwarder forwarder(node.GetMessenger());
        EXPECT_EQ(forwarder.GetVoxMessenger().GetPort(), node.GetMessenger().GetPort());
        forwarder.Get(kHost);
    }
    SettingsForwarder().Get(kHost);
    EXPECT_EQ(node.ReceivedCount(), 2u);
}

TEST(SettingsForwarder, ManyThreadsAskThroughOneForwarder) {
    SimulatedNode node;
    node.AnswerBy([](const ReceivedRequest& request) {
        NodeAnswer answer;
        answer.group = request.group;
        answer.group.GetConfig("package").SetAttrValue("NAME", request.package);
        return answer;
    });
    const SettingsForwarder forwarder;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&forwarder, i] {
            const String_t package = LumPalStr::NumToStr(i);
            for (int j = 0; j < 10; ++j) {
                const Configuration_t picked =
                    forwarder.Get(kHost, Name("package"), Options().SetLUMResourceGroup(package));
                EXPECT_EQ(picked.GetValue("NAME"), package);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(node.ReceivedCount(), 80u);
}

TEST(SettingsForwarder, ANodeThatIsNotThereCannotBeReached) {
    SimulatedNode node;
    node.Close();
    EXPECT_THROW(SettingsForwarder().Get(kHost), ConnectException_t);
}

// Against a server of settings.

class SettingsForwarderWithServer : public ServerTest {
protected:
    SettingsForwarderWithServer() {
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(server.GetPort()).c_str());
        std::filesystem::remove_all(node.Root() + "/etc/pal/config/rg");
    }
    ~SettingsForwarderWithServer() override {
        std::filesystem::remove_all(node.Root() + "/etc/pal/config/rg");
        LumPalConfig::ConfigUpdate_t update("");
        update.ClearAttr("vox.http.ext.conf", "TARGET_PORT");
        update.Apply();
    }
    const Options group = Options().SetLUMResourceGroup("rg");
};

TEST_F(SettingsForwarderWithServer, SettingsAreSetReadAndClearedOnTheNode) {
    const SettingsForwarder forwarder;
    forwarder.Set(kHost, GroupOf({{"a", "X", "1"}, {"a", "Y", " 2 "}, {"b", "X", "3"}}), group);
    forwarder.Set(kHost, ConfigurationOf({{"b", "Z", "\r\n#"}}), group);
    forwarder.Set(kHost, ConfigurationOf({{"c"}}), group);
    EXPECT_EQ(Shown(forwarder.Get(kHost, group)), "[a]X=1;Y= 2 ;[b]X=3;Z=\r\n#;");
    forwarder.Clear(kHost, Name("a"), Name("X"), group);
    forwarder.Clear(kHost, Name("b"), group);
    forwarder.Clear(kHost, Name("none"), Name("none"), group);
    EXPECT_EQ(Shown(forwarder.Get(kHost, group)), "[a]Y= 2 ;");
    EXPECT_EQ(forwarder.Get(kHost, Name("a"), group).GetValue("Y"), " 2 ");
    EXPECT_EQ(forwarder.Get(kHost, Name("none"), group).GetAttrCount(), 0);
    EXPECT_TRUE(forwarder.Get(kHost).HasConfig("vox.http.ext.conf")) << "the node's own";
    EXPECT_FALSE(forwarder.Get(kHost, group).HasConfig("vox.http.ext.conf"));
}

TEST_F(SettingsForwarderWithServer, AFailureOfTheNodeArrivesWithItsWords) {
    const SettingsForwarder forwarder;
    const auto messages = MessagesOf<LumConf::SettingsRemoteException>(
        [&] { forwarder.Get(kHost, Options().SetLUMResourceGroup("../x")); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 146u);
    const std::string text = messages.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
    EXPECT_NE(text.find("Settings configuration operation was not successful."), std::string::npos) << text;
    EXPECT_NE(text.find("'../x'"), std::string::npos) << text;
}

}  // namespace
}  // namespace LumConfPar
