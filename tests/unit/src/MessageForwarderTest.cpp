#include "MessageForwarder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "AnswerRows.h"
#include "Groups.h"
#include "PolicyHeader.h"
#include "Raised.h"
#include "SelectionImpl.h"
#include "SimulatedNode.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalConfig::ConfigGroup_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;
using Options = PolicyForwarder::Options;

const char kBytes[] = {0, 1, 2, '\xFF'};

struct Sender {
    MessageForwarder forwarder;

    void Install(const String_t& host = "localhost", InstallMethod how = InstallMethod::Policy,
                 const InstallOptions& options = InstallOptions(), RequestKind kind = RequestKind::Install) const {
        forwarder.SendInstall("install", kind, host, "p_header.xml", CharArray_t(kBytes, sizeof kBytes), options, how);
    }
    void Operate(const String_t& host = "localhost", const Options& options = Options(),
                 const String_t& text = "argument", RequestKind kind = RequestKind::Selection) const {
        forwarder.SendSelection("policyOp", kind, OperationMode::AddCategory, host, text,
                                Selection().SetPolicyName("Name"), options);
    }
    PolicyContainer List(const String_t& host = "localhost", const String_t& targetId = "",
                         RequestKind kind = RequestKind::List) const {
        return forwarder.SendList("list", kind, host, targetId, Selection().SetPolicyName("Name"));
    }
    ConfigGroup_t Configure(const String_t& host = "localhost", const ConfigGroup_t& group = ConfigGroup_t(),
                            const String_t& package = "", const String_t& targetId = "",
                            RequestKind kind = RequestKind::Configuration) const {
        return forwarder.SendConfig("configOp", kind, ConfigMode::Set, host, targetId, package, group);
    }
};

// What is refused before anything is sent.

struct KindRow {
    unsigned id;
    RequestKind right;
    const char* text;
    void (*send)(const Sender&, const String_t& host, RequestKind kind);
};

const KindRow kKinds[] = {
    {130, RequestKind::Install, "State in message forwarder for install is not recognized.",
     [](const Sender& sender, const String_t& host, RequestKind kind) {
         sender.Install(host, InstallMethod::Policy, InstallOptions(), kind);
     }},
    {136, RequestKind::Selection, "State in message forwarder for string selection is not recognized.",
     [](const Sender& sender, const String_t& host, RequestKind kind) { sender.Operate(host, Options(), "x", kind); }},
    {142, RequestKind::List, "State in message forwarder for list selection is not recognized.",
     [](const Sender& sender, const String_t& host, RequestKind kind) { sender.List(host, "", kind); }},
    {144, RequestKind::Configuration, "State in message forwarder for send configuration request is not recognized.",
     [](const Sender& sender, const String_t& host, RequestKind kind) {
         sender.Configure(host, ConfigGroup_t(), "", "", kind);
     }},
};

TEST(MessageForwarder, AnotherKindOfRequestIsRefusedFirst) {
    const SimulatedNode node;
    const Sender sender;
    for (const KindRow& row : kKinds) {
        for (const int kind : {0, 1, 2, 3, 4, 5, 6}) {
            if (kind == static_cast<int>(row.right)) continue;
            for (const char* host : {"localhost", ""}) {
                const auto messages =
                    MessagesOf<IllegalStateError_t>([&] { row.send(sender, host, static_cast<RequestKind>(kind)); });
                ASSERT_EQ(messages.GetMessageCount(), 1);
                EXPECT_EQ(messages.GetMessage(0).GetId(), row.id);
                EXPECT_EQ(messages.GetMessage(0).GetMessageText(), row.text);
            }
        }
    }
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(MessageForwarder, TheRightKindOfRequestIsSent) {
    const SimulatedNode node;
    const Sender sender;
    for (const KindRow& row : kKinds) EXPECT_NO_THROW(row.send(sender, "localhost", row.right)) << row.text;
    EXPECT_EQ(node.ReceivedCount(), 4u);
}

TEST(MessageForwarder, ABlankHostIsRefusedByEverySend) {
    const SimulatedNode node;
    const Sender sender;
    for (const KindRow& row : kKinds) {
        for (const String_t& host : {String_t(""), String_t("  "), String_t("\t"), String_t::Null()}) {
            EXPECT_RAISES(row.send(sender, host, row.right), IllegalArgumentError_t, 129);
        }
    }
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(MessageForwarder, AHostThatIsNoneIsRefused) {
    const SimulatedNode node;
    const Sender sender;
    for (const char* host : {"a b", "localhost/x@y", "user@localhost", "\x01"}) {
        EXPECT_THROW(sender.Operate(host), IllegalArgumentError_t) << host;
    }
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(MessageForwarder, ATextThatXmlCannotCarryIsRefused) {
    const SimulatedNode node;
    const Sender sender;
    EXPECT_THROW(sender.Operate("localhost", Options(), String_t(u'\x0007')), IllegalArgumentError_t);
    EXPECT_THROW(sender.Configure("localhost", ConfigGroup_t(), String_t(u'\x0007')), IllegalArgumentError_t);
    const ConfigGroup_t group;
    group.GetConfig("a").SetAttrValue("X", String_t(u'\xFFFF'));
    EXPECT_THROW(sender.Configure("localhost", group), IllegalArgumentError_t);
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

// What arrives.

TEST(MessageForwarder, AnInstallArrivesWhole) {
    const SimulatedNode node;
    Sender().Install("localhost", InstallMethod::Package, InstallOptions().SetOwner("Owner").SetNotify(false));
    const ReceivedRequest request = node.Last();
    EXPECT_EQ(request.method, "install");
    EXPECT_EQ(request.text, "p_header.xml");
    EXPECT_EQ(request.data, CharArray_t(kBytes, sizeof kBytes));
    EXPECT_EQ(request.installMethod, 2);
    InstallOptionsSoapArg options("o");
    options.SetOptions(request.installOptions);
    LumPalIo::CharArrayOutputStream_t text;
    LumPalXml::XmlWriter_t writer(text);
    writer.OpenTag("o");
    options.WriteContent(writer);
    writer.Close();
    EXPECT_NE(text.ToString().Find("<owner>Owner</owner>"), LumPalStr::NotFound);
    EXPECT_NE(text.ToString().Find("<notify>false</notify>"), LumPalStr::NotFound);
}

TEST(MessageForwarder, AnOperationArrivesWhole) {
    const SimulatedNode node;
    Sender().Operate(" localhost\n", Options().SetNotify(false), String_t::FromUtf8(" <\xC3\x84>&\r\n "));
    const ReceivedRequest request = node.Last();
    EXPECT_EQ(request.method, "policyOp");
    EXPECT_EQ(request.mode, 6);
    EXPECT_EQ(request.text, String_t::FromUtf8(" <\xC3\x84>&\r\n "));
    EXPECT_EQ(request.selection.Describe(), Selection().SetPolicyName("Name").Describe());
    EXPECT_FALSE(request.options.GetNotify());
}

TEST(MessageForwarder, AListBringsThePoliciesThatTheNodeSends) {
    SimulatedNode node;
    NodeAnswer answer;
    PolicyHeader header;
    header.SetContainerId("p1");
    header.SetName("Name");
    answer.list.Insert(header.GetImpl());
    node.Answer(answer);
    const PolicyContainer list = Sender().List();
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetPolicyHeader("p1").GetName(), "Name");
    EXPECT_EQ(node.Last().method, "list");
    EXPECT_EQ(node.Last().selection.GetImpl().GetKind(), SelectionKind::Name);
    node.Answer(NodeAnswer());
    EXPECT_EQ(Sender().List().GetCount(), 0);
}

TEST(MessageForwarder, ASettingsRequestArrivesWholeAndBringsTheGroupThatTheNodeSends) {
    SimulatedNode node;
    NodeAnswer answer;
    answer.group = GroupOf({{"answered", "X", " 1 "}, {"bare"}});
    node.Answer(answer);
    const ConfigGroup_t group = Sender().Configure(" localhost\n", GroupOf({{"b", "Y", "<2>"}, {"a"}}), "group 1");
    EXPECT_EQ(Shown(group), "[answered]X= 1 ;[bare]");
    const ReceivedRequest request = node.Last();
    EXPECT_EQ(request.method, "configOp");
    EXPECT_EQ(request.mode, 18);
    EXPECT_EQ(request.package, "group 1");
    EXPECT_EQ(Shown(request.group), "[a][b]Y=<2>;");
}

// What the node's answers become.

TEST(MessageForwarder, EveryReturnValueOfAnOperation) {
    SimulatedNode node;
    const Sender sender;
    for (const AnswerRow& row : answers::selection) {
        node.Answer(row.value);
        ExpectAnswerRow(row, "localhost", "", "words of the node", [&] { sender.Operate(); });
    }
    node.Answer(1);
    EXPECT_NO_THROW(sender.Operate()) << "a forwarder goes on after failures";
}

TEST(MessageForwarder, EveryReturnValueOfAList) {
    SimulatedNode node;
    const Sender sender;
    for (const AnswerRow& row : answers::list) {
        node.Answer(row.value);
        ExpectAnswerRow(row, "localhost", "", "words of the node", [&] { sender.List(); });
    }
    node.Answer(1);
    EXPECT_NO_THROW(sender.List());
}

TEST(MessageForwarder, EveryReturnValueOfASettingsRequest) {
    SimulatedNode node;
    const Sender sender;
    for (const AnswerRow& row : answers::configuration) {
        node.Answer(row.value);
        ExpectAnswerRow(row, "localhost", "", "words of the node", [&] { sender.Configure(); });
    }
    node.Answer(1);
    EXPECT_NO_THROW(sender.Configure()) << "a forwarder goes on after failures";
}

TEST(MessageForwarder, EveryReturnValueOfAnInstallOfOnePolicy) {
    SimulatedNode node;
    const Sender sender;
    for (const AnswerRow& row : answers::installPolicy) {
        node.Answer(row.value);
        ExpectAnswerRow(row, "localhost", "p_header.xml", "words of the node", [&] { sender.Install(); });
    }
    node.Answer(1);
    EXPECT_NO_THROW(sender.Install());
}

TEST(MessageForwarder, EveryReturnValueOfAnInstallOfAPackage) {
    SimulatedNode node;
    const Sender sender;
    for (const AnswerRow& row : answers::installPackage) {
        node.Answer(row.value);
        ExpectAnswerRow(row, "localhost", "p_header.xml", "words of the node",
                        [&] { sender.Install("localhost", InstallMethod::Package); });
    }
    node.Answer(1);
    EXPECT_NO_THROW(sender.Install("localhost", InstallMethod::Package));
}

TEST(MessageForwarder, MessagesShowTheHostWithoutTheBlanksAroundIt) {
    SimulatedNode node;
    node.Answer(8);
    const Sender sender;
    const char* const words = "words of the node";
    ExpectAnswerRow(answers::selection[3], "localhost", "", words, [&] { sender.Operate(" localhost\t"); });
    ExpectAnswerRow(answers::list[2], "localhost", "", words, [&] { sender.List(" localhost\t"); });
    ExpectAnswerRow(answers::installPolicy[2], "localhost", "", words, [&] { sender.Install(" localhost\t"); });
    ExpectAnswerRow(answers::configuration[0], "localhost", "", words, [&] { sender.Configure(" localhost\t"); });
}

TEST(MessageForwarder, TheNodesWordsArriveAsTheyAre) {
    SimulatedNode node;
    const Sender sender;
    for (const String_t& text :
         {String_t(""), String_t("%1 %2"), String_t("a <b> & c\n  d\r\n\te "),
          String_t::FromUtf8("\xE2\x82\xAC \xF0\x9F\x94\x92"), String_t::FromUtf8(std::string(100000, 'x'))}) {
        node.Answer(7, text);
        ExpectAnswerRow(answers::selectionUndefined, "localhost", "", text, [&] { sender.Operate(); });
    }
}

TEST(MessageForwarder, WordsThatXmlCannotCarryArriveCleaned) {
    SimulatedNode node;
    node.Answer(7, String_t("a") + String_t(u'\x0001') + "b");
    ExpectAnswerRow(answers::selectionUndefined, "localhost", "",
                    String_t::FromUtf8("a\xEF\xBF\xBD"
                                       "b"),
                    [] { Sender().Operate(); });
}

// Failures of the transport pass as they are.

TEST(MessageForwarder, AFaultOfTheNodePasses) {
    SimulatedNode node;
    node.AnswerBy([](const ReceivedRequest&) -> NodeAnswer { throw PolicyOwnerError(LumPalMsg::CreateError_t("no")); });
    const Sender sender;
    EXPECT_THROW(sender.Install(), LumVoxSoap::SOAPFaultException);
    EXPECT_THROW(sender.Operate(), LumVoxSoap::SOAPFaultException);
    EXPECT_THROW(sender.List(), LumVoxSoap::SOAPFaultException);
    node.Answer(1);
    EXPECT_NO_THROW(sender.Operate());
}

TEST(MessageForwarder, AMethodThatTheNodeDoesNotHavePassesAsAFault) {
    const SimulatedNode node;
    const Sender sender;
    EXPECT_THROW(sender.forwarder.SendList("enumerate", RequestKind::List, "localhost", "", Selection()),
                 LumVoxSoap::SOAPFaultException);
}

TEST(MessageForwarder, ANodeThatIsNotThereCannotBeReached) {
    SimulatedNode node;
    const Sender sender;
    sender.Operate();
    node.Close();
    for (const KindRow& row : kKinds) {
        const auto messages = MessagesOf<ConnectException_t>([&] { row.send(sender, "localhost", row.right); });
        EXPECT_NE(String_t(messages).Find("Cannot connect to host"), LumPalStr::NotFound);
    }
}

TEST(MessageForwarder, AnotherNameOfTheMachineTakesTheSecureRoad) {
    const SimulatedNode node;  // speaks plain HTTP
    EXPECT_THROW(Sender().Operate("127.0.0.1"), ConnectException_t);
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(MessageForwarder, TheTargetIdComesFromTheRequest) {
    const SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    const Sender sender;
    EXPECT_NO_THROW(sender.Install("localhost", InstallMethod::Policy, InstallOptions().SetTargetID("node-1")));
    EXPECT_NO_THROW(sender.Operate("localhost", Options().SetTargetID("node-1")));
    EXPECT_NO_THROW(sender.List("localhost", "node-1"));
    EXPECT_NO_THROW(sender.List("localhost", ""));
    EXPECT_NO_THROW(sender.Configure("localhost", ConfigGroup_t(), "", "node-1"));
    EXPECT_EQ(node.ReceivedCount(), 5u);
    EXPECT_THROW(sender.Install("localhost", InstallMethod::Policy, InstallOptions().SetTargetID("node-2")),
                 ConnectException_t);
    EXPECT_THROW(sender.Operate("localhost", Options().SetTargetID("node-2")), ConnectException_t);
    EXPECT_THROW(sender.List("localhost", "node-2"), ConnectException_t);
    EXPECT_THROW(sender.Configure("localhost", ConfigGroup_t(), "", "node-2"), ConnectException_t);
    EXPECT_EQ(node.ReceivedCount(), 5u);
}

// The messenger.

TEST(MessageForwarder, ItsOwnMessengerOnlySends) {
    const TempRoot root;
    MessageForwarder forwarder;
    EXPECT_FALSE(forwarder.IsNull());
    LumVoxRpc::RpcServer server{LumPalConfig::Configuration_t(), LumVoxRpc::RpcServer::Options()};
    EXPECT_THROW(forwarder.Register(server, false, 0), IllegalStateError_t);
    EXPECT_FALSE(forwarder.IsServing());
}

TEST(MessageForwarder, EachForwarderHasAMessengerOfItsOwnUnlessOneIsGiven) {
    const TempRoot root;
    const MessageForwarder first, second, third(first);
    EXPECT_NE(first.GetImpl(), second.GetImpl());
    const MessageForwarder shared(static_cast<const LumVoxMsg::Messenger&>(first));
    EXPECT_EQ(shared.GetImpl(), first.GetImpl());
    EXPECT_EQ(third.GetImpl(), first.GetImpl());
}

TEST(MessageForwarder, AGivenMessengerKeepsServing) {
    SimulatedNode node;
    {
        const MessageForwarder forwarder(node.GetMessenger());
        EXPECT_TRUE(forwarder.IsServing());
        forwarder.SendList("list", RequestKind::List, "localhost", "", Selection());
    }
    EXPECT_TRUE(node.GetMessenger().IsServing());
    EXPECT_EQ(node.ReceivedCount(), 1u);
}

TEST(MessageForwarder, ManyThreadsSendThroughOneForwarder) {
    SimulatedNode node;
    node.AnswerBy([](const ReceivedRequest& request) {
        NodeAnswer answer;
        answer.value = 7;
        answer.text = request.text;
        return answer;
    });
    const Sender sender;
    std::atomic<int> own{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 25; ++i) {
                const String_t text = LumPalStr::NumToStr(thread * 1000 + i);
                try {
                    sender.Operate("localhost", Options(), text);
                } catch (const PolicyRemoteException& e) {
                    own += e.GetMessageList().GetMessage(0).GetDetails().GetMessage(0).GetMessageText() == text;
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(own, 100);
}

}  // namespace
}  // namespace LumConf
