#include "ConfigServer.h"

#include <chrono>
#include <thread>

#include "Faults.h"
#include "LumCtrl.h"
#include "LumPalCfgFile.h"
#include "LumPalDaemon.h"
#include "PolicyWorker.h"
#include "RpcPolicyInstall.h"
#include "RpcPolicyList.h"
#include "RpcPolicyOp.h"
#include "ServerTest.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using LumVoxMsg::Messenger;
using std::chrono::steady_clock;

const char* const kMain = "/com.tessel.lum.conf.core/voxrpcserver";
const char* const kCheck = "/com.tessel.lum.conf.core/checkpolicy/voxrpcserver";

class ConfigServerTest : public testing::Test {
protected:
    static LumPalConfig::Configuration_t Transport() {
        return LumPalConfig::ConfigNamespace_t("vox.http.ext.conf").Open();
    }
    static Messenger MakeMessenger(const char* base = "/") {
        return Messenger(Transport(), Messenger::Options().SetAuthenticationMethod(1).SetBasePath(base));
    }
    static int StatusOf(unsigned port, const std::string& path, const char* method = "mgrconf") {
        return NodeClient(port)
            .Post(NodeClient::Envelope(std::string("<") + method + "/>"), NodeClient::Sender::Nobody, path)
            .status;
    }
    void ExpectItServes() {
        NodeClient client(server->GetPort());
        EXPECT_EQ(client.ManagerConfiguration({}), 0);
        EXPECT_EQ(client.CheckPolicy({}), 0);
        EXPECT_EQ(client.List().value, 2);
        EXPECT_EQ(client.Operate(15).value, 1);
    }
    static constexpr int kRefused = -1;
    /// Installs and has the consumers told.
    static Reply InstallTold(unsigned port, const TestPolicy& policy) {
        Reply reply;
        try {
            return NodeClient(port).Install(policy.Array(), 1, InstallOptions());
        } catch (const LumPalMsg::Exception_t& e) {
            reply.value = kRefused;
            reply.text = e.what();
        }
        return reply;
    }
    bool IsInstalled(const TestPolicy& policy) const {
        return std::filesystem::exists(node.InstallFolder() + "/" + policy.type + "/" + policy.id + "_header.xml");
    }
    static bool IsOpen(unsigned port) {
        try {
            RawSocket probe(port);
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }

    ProcessNode& node = ProcessNode::Fresh();
    CapturedLog log{node.Root()};
    std::unique_ptr<ConfigServer> server = std::make_unique<ConfigServer>();
};

TEST_F(ConfigServerTest, BeforeItIsStartedNothingIsServed) {
    EXPECT_FALSE(server->IsServing());
    EXPECT_EQ(server->GetPort(), 0u);
}

TEST_F(ConfigServerTest, StartedAloneItServesBothServersBelowItsOwnPath) {
    server->Start();
    ASSERT_TRUE(server->IsServing());
    ExpectItServes();
    EXPECT_EQ(StatusOf(server->GetPort(), "/voxrpcserver"), 404);
    EXPECT_EQ(StatusOf(server->GetPort(), "/"), 404);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ConfigServerTest, StartedWithoutAMessengerItMakesOneAtTheRootAndServesAtTheSameAddresses) {
    server->Start(nullptr);
    ASSERT_TRUE(server->IsServing());
    ExpectItServes();
    EXPECT_EQ(StatusOf(server->GetPort(), std::string("/com.tessel.lum.conf.core") + kMain), 404);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ConfigServerTest, OnAMessengerOfTheCallerItServesAtTheSameAddresses) {
    Messenger messenger = MakeMessenger();
    server->Start(&messenger);
    EXPECT_EQ(server->GetPort(), messenger.GetPort());
    ExpectItServes();
}

TEST_F(ConfigServerTest, TheServersCarryTheWholePathBelowTheMessengersOwn) {
    Messenger messenger = MakeMessenger("/deeper");
    server->Start(&messenger);
    EXPECT_EQ(StatusOf(server->GetPort(), std::string("/deeper") + kMain), 200);
    EXPECT_EQ(StatusOf(server->GetPort(), std::string("/deeper") + kCheck, "checkpolicy"), 200);
    EXPECT_EQ(StatusOf(server->GetPort(), kMain), 404);
}

TEST_F(ConfigServerTest, WhileTheProcessIsStoppingItSaysThatItIsNotReady) {
    server->Start();
    const auto health = [&] {
        RawSocket reader(server->GetPort());
        reader.Send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
        return reader.ReceiveSome().substr(0, 12);
    };
    EXPECT_EQ(health(), "HTTP/1.1 200");
    LumPalRuntime::SetStopping(true);
    const std::string stopping = health();
    LumPalRuntime::SetStopping(false);
    EXPECT_EQ(stopping, "HTTP/1.1 503");
    EXPECT_EQ(health(), "HTTP/1.1 200");
}

TEST_F(ConfigServerTest, EachMethodStandsOnItsServerAlone) {
    server->Start();
    const unsigned port = server->GetPort();
    EXPECT_EQ(StatusOf(port, kMain, "mgrconf"), 200);
    EXPECT_EQ(StatusOf(port, kCheck, "mgrconf"), 500);
    EXPECT_EQ(StatusOf(port, kCheck, "checkpolicy"), 200);
    EXPECT_EQ(StatusOf(port, kMain, "checkpolicy"), 500);
    for (const char* method : {"Install", "remove", "x"}) EXPECT_EQ(StatusOf(port, kMain, method), 500) << method;
    for (const char* method : {"install", "policyOp", "list"}) EXPECT_EQ(StatusOf(port, kMain, method), 200) << method;
}

TEST_F(ConfigServerTest, APortThatIsTakenIsSaidInTheLogAndStartReturns) {
    Messenger other = MakeMessenger();
    ConfigServer first;
    first.Start(&other);
    Configure("vox.http.ext.conf", "SERVER_PORT", std::to_string(first.GetPort()).c_str());
    EXPECT_NO_THROW(server->Start());
    EXPECT_FALSE(server->IsServing());
    EXPECT_TRUE(log.Holds("ERROR Could not create messenger for configuration server '"));
    EXPECT_TRUE(log.Holds("and register its methods with the messenger object.\n  "));
    EXPECT_FALSE(log.Holds("Could not create configuration server"));
    EXPECT_NO_THROW(server->Start(nullptr));
    EXPECT_FALSE(server->IsServing());
    other.Close();
    server->Start();
    EXPECT_TRUE(server->IsServing()) << "the port is free again";
    Configure("vox.http.ext.conf", "SERVER_PORT", "0");
}

/// A start on each road.
void StartOn(ConfigServer& server, const char* road, Messenger& own) {
    if (road == std::string("own path")) return server.Start();
    server.Start(road == std::string("root") ? nullptr : &own);
}

TEST_F(ConfigServerTest, ServersThatCannotBeMadeAreSaidInTheLogAndTheMessengerIsTriedAllTheSame) {
    for (const char* road : {"own path", "root", "messenger of the caller"}) {
        Messenger own = MakeMessenger();
        const CapturedLog said(node.Root());
        const std::string before = said.Text();
        {
            const FailingFile noServers("serve", "voxrpcserver");
            EXPECT_NO_THROW(StartOn(*server, road, own));
        }
        const std::string text = said.Text().substr(before.size());
        const std::size_t servers = text.find("ERROR Could not create configuration server '");
        const std::size_t messenger = text.find("ERROR Could not create messenger for configuration server '");
        EXPECT_NE(servers, std::string::npos) << road << ": " << text;
        EXPECT_NE(text.find("' and register its methods.\n  "), std::string::npos) << road << ": " << text;
        EXPECT_NE(messenger, std::string::npos) << road << ": the messenger was not tried: " << text;
        EXPECT_NE(text.find("There is no handler to register with the messenger.", messenger), std::string::npos);
        EXPECT_LT(servers, messenger);
        EXPECT_FALSE(server->IsServing()) << road;
        StartOn(*server, road, own);
        ExpectItServes();
        server = std::make_unique<ConfigServer>();
    }
}

TEST_F(ConfigServerTest, AFailureToMakeTheSecondServerAloneIsSaidAndTheFirstServes) {
    {
        const FailingFile noCheck("serve", "/checkpolicy/voxrpcserver");
        server->Start();
    }
    EXPECT_TRUE(log.Holds("ERROR Could not create configuration server '")) << log.Text();
    EXPECT_EQ(StatusOf(server->GetPort(), kMain, "mgrconf"), 200);
    EXPECT_EQ(StatusOf(server->GetPort(), kCheck, "checkpolicy"), 404);
}

TEST_F(ConfigServerTest, AMessengerOfTheCallerThatCannotServeIsSaidInTheLog) {
    Messenger closed = MakeMessenger(), null;
    closed.Close();
    server->Start(&closed);
    EXPECT_FALSE(server->IsServing());
    server->Start(&null);
    EXPECT_FALSE(server->IsServing());
    EXPECT_TRUE(log.Holds("A closed messenger takes no handler."));
    EXPECT_TRUE(log.Holds("A null messenger takes no handler."));
    server->Start();
    ExpectItServes();
}

TEST_F(ConfigServerTest, ABrokenConfigurationLeavesStart) {
    const std::string path = node.Root() + "/etc/pal/config/local_settings.ini";
    const std::string good = ReadText(path);
    WriteText(path, "neither\n");
    EXPECT_THROW(server->Start(), LumPalCfgFile::SyntaxException_t);
    EXPECT_THROW(server->Start(nullptr), LumPalCfgFile::SyntaxException_t);
    WriteText(path, good);
    server->Start();
    EXPECT_TRUE(server->IsServing());
}

TEST_F(ConfigServerTest, ASecondStartTakesANewRoadAndLeavesTheOldOne) {
    server->Start();
    const unsigned before = server->GetPort();
    server->Start();
    ExpectItServes();
    EXPECT_TRUE(server->GetPort() == before || !IsOpen(before));
    server->Start(nullptr);
    ExpectItServes();
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ConfigServerTest, ASecondStartOnTheSameMessengerIsSaidAndTheFirstGoesOn) {
    Messenger messenger = MakeMessenger();
    server->Start(&messenger);
    server->Start(&messenger);
    EXPECT_TRUE(log.Holds("has a handler already"));
    ExpectItServes();
}

TEST_F(ConfigServerTest, StopClosesTheRoadAndTakesTheWorkFoldersAway) {
    server->Start();
    const unsigned port = server->GetPort();
    WriteText(node.IncomingFolder() + "/left over");
    WriteText(node.TemporaryFolder() + "/left over");
    node.Install(TestPolicy());
    server->Stop();
    EXPECT_FALSE(server->IsServing());
    EXPECT_FALSE(IsOpen(port));
    EXPECT_FALSE(std::filesystem::exists(node.IncomingFolder()));
    EXPECT_FALSE(std::filesystem::exists(node.TemporaryFolder()));
    EXPECT_TRUE(node->IsPolicyInstalled()) << "what is installed stays";
}

TEST_F(ConfigServerTest, StopClosesAMessengerOfTheCallerToo) {
    Messenger messenger = MakeMessenger();
    server->Start(&messenger);
    server->Stop();
    EXPECT_FALSE(messenger.IsServing());
}

TEST_F(ConfigServerTest, StopMayComeTwiceAndWithoutAStart) {
    EXPECT_NO_THROW(server->Stop());
    server->Start();
    server->Stop();
    EXPECT_NO_THROW(server->Stop());
    EXPECT_FALSE(server->IsServing());
}

TEST_F(ConfigServerTest, AfterAStopItCanServeAgain) {
    server->Start();
    server->Stop();
    server->Start();
    ExpectItServes();
}

TEST_F(ConfigServerTest, StopEndsThePolicyWorkerToo) {
    server->Start();
    server->Stop();
    TraceLines traced;
    LumConfPar::PolicyWorker::GetInstance().InsertJob(LumConfPar::JobKind::Install, "late");
    EXPECT_TRUE(traced.Contains("the policy worker does not run, a job is dropped for late"));
}

template <class Handler>
class HandlerEndTest : public testing::Test {
protected:
    ProcessNode& node = ProcessNode::Fresh();
};
using Handlers = testing::Types<RpcPolicyInstall, RpcPolicyOp, RpcPolicyList>;
TYPED_TEST_SUITE(HandlerEndTest, Handlers);

TYPED_TEST(HandlerEndTest, WaitsOneSecondForACallInFlightAndGivesItUpThen) {
    auto handler = std::make_unique<TypeParam>();
    handler->CallStarted();
    TraceLines traced;
    const auto begin = steady_clock::now();
    handler.reset();
    const auto waited = steady_clock::now() - begin;
    EXPECT_TRUE(traced.Contains("the end of a handler waits for its calls in flight"));
    EXPECT_GE(waited, std::chrono::seconds(1));
    EXPECT_LT(waited, std::chrono::seconds(30)) << "it would wait for ever";
}

TYPED_TEST(HandlerEndTest, WaitsForNothingWhenItsCallsHaveEnded) {
    auto handler = std::make_unique<TypeParam>();
    handler->CallStarted();
    handler->CallFinished();
    TraceLines traced;
    handler.reset();
    EXPECT_FALSE(traced.Contains("the end of a handler waits"));
}

TEST_F(ConfigServerTest, AServerThatGoesWithoutAStopWaitsForTheCallInFlight) {
    LumCtrl::Service service;
    service.Start();
    const LumPalStr::String_t events[] = {"CHECK_POLICY:*"};
    LumCtrl::Component consumer("consumer", events, 1);
    server->Start();
    Reply installed;
    std::jthread install([&, port = server->GetPort()] {
        NodeClient client(port);
        installed = client.Install(TestPolicy().Array(), 1, InstallOptions());
    });
    LumPalStr::String_t event, value;
    ASSERT_TRUE(consumer.Next(event, value, 30000));
    std::jthread acknowledge([&] { consumer.Acknowledge(); });
    server.reset();
    install.join();
    EXPECT_EQ(installed.value, 1) << installed.text;
}

TEST_F(ConfigServerTest, AServerThatGoesWithoutAStopClosesItsRoad) {
    for (const bool withNull : {false, true}) {
        server = std::make_unique<ConfigServer>();
        withNull ? server->Start(nullptr) : server->Start();
        const unsigned port = server->GetPort();
        ASSERT_NE(port, 0u);
        server.reset();
        EXPECT_FALSE(IsOpen(port));
    }
}

TEST_F(ConfigServerTest, AStopLetsNoInstallWaitForAConsumerAndNoneIsInstalledThatIsRefused) {
    LumCtrl::Service control;
    control.Start();
    const LumPalStr::String_t all("*");
    LumCtrl::Component consumer("silent", &all, 1);
    server->Start();
    const unsigned port = server->GetPort();
    constexpr std::size_t kCallers = 12;  // more than WORKER_THREADS
    TestPolicy policies[kCallers];
    Reply replies[kCallers];
    std::vector<std::thread> callers;
    for (std::size_t i = 0; i < kCallers; ++i) {
        policies[i].id = policies[i].name = "p" + std::to_string(i);
        callers.emplace_back([&, i] { replies[i] = InstallTold(port, policies[i]); });
    }
    LumPalStr::String_t event, value;
    ASSERT_TRUE(consumer.Next(event, value, 60000));
    server->StopReceiving();
    EXPECT_FALSE(server->IsServing());
    control.StopWaiting();
    server->Stop();
    for (std::thread& caller : callers) caller.join();
    int installed = 0;
    for (std::size_t i = 0; i < kCallers; ++i) {
        const Reply& reply = replies[i];
        const bool is = IsInstalled(policies[i]);
        installed += is;
        EXPECT_EQ(reply.value, is ? 9 : kRefused) << reply.text;
        EXPECT_EQ(reply.text.find("'silent' had not acknowledged when the node was stopped") != std::string::npos, is)
            << reply.text;
    }
    EXPECT_GE(installed, 1);
}

}  // namespace
