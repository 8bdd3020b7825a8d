// What the monitor sets on its own node, by a request over TLS.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "ConfigServer.h"
#include "Configure.h"
#include "Files.h"
#include "LumPalNet.h"
#include "LumSecAuth.h"
#include "MonitorKeys.h"
#include "TempRoot.h"
#include "TestPki.h"

namespace LumConf {
namespace {

using LumConfCluster::FollowKeys;
using LumConfCluster::LocalName;
using LumPalStr::String_t;

void Expect(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error(what);
}

/// A node that serves with a certificate of this name, called 127.0.0.1 by its cluster. In a process of its own, since
/// a process has one node.
class ServingNode {
public:
    explicit ServingNode(const char* certifiedName) {
        const TestAuthority authority("authority");
        InstallTrust("authority", authority.Certificate());
        InstallIdentity("node-1", authority.Issue(certifiedName, "IP:127.0.0.1"));
        Configure("vox.http.ext.conf", "SERVER_PORT", "0");
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "127.0.0.1");
        server = std::make_unique<ConfigServer>();
        server->Start();
        Expect(server->IsServing(), "it does not serve");
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(server->GetPort()).c_str());
    }
    ~ServingNode() { server->Stop(); }
    std::string Settings() const { return ReadText(root.Native() + "/etc/pal/config/local_settings.ini"); }
    bool Holds(const char* line) const { return Settings().find(line) != std::string::npos; }
    LocalName Follow() { return FollowKeys({type, interval, mode}); }

    const TempRoot root;
    std::unique_ptr<ConfigServer> server;
    String_t type = "the product";
    std::int32_t interval = 1234;
    bool mode = false;
};

template <class Trial>
[[noreturn]] void InProcess(Trial trial) {
    int code = 0;
    try {
        trial();
    } catch (const std::exception& e) {
        std::cerr << e.what() << std::endl;
        code = 1;
    }
    std::_Exit(code);
}

void EmptyKeysAreSet() {
    ServingNode node("node-1");
    const LocalName local = node.Follow();
    Expect(local.isConfigured && local.name == "127.0.0.1", "the local name");
    for (const char* line : {"CLUSTER_TYPE=the product\n", "POLLING_INTERVAL=1234\n", "MONITOR_MODE=FALSE\n"})
        Expect(node.Holds(line), line + node.Settings());
    Expect(node.interval == 1234 && !node.mode, "the values are gone by at once");
}

void AnOddProductIsOverwrittenAndNothingElse() {
    ServingNode node("node-1");
    Configure("conf.cluster", "CLUSTER_TYPE", "odd");
    Configure("conf.cluster", "POLLING_INTERVAL", "50");
    Configure("conf.cluster", "MONITOR_MODE", "yes");
    Configure("conf.cluster", "TOOL_TIMEOUT", "7");
    node.Follow();
    for (const char* line :
         {"CLUSTER_TYPE=the product\n", "POLLING_INTERVAL=50\n", "MONITOR_MODE=yes\n", "TOOL_TIMEOUT=7\n"})
        Expect(node.Holds(line), line + node.Settings());
    const std::string before = node.Settings();
    node.server->StopReceiving();
    node.Follow();
    Expect(node.Settings() == before, "it was asked though nothing was to be set");
}

void WithoutTheRightNothingIsSet() {
    ServingNode node("somebody else");
    try {
        node.Follow();
        Expect(false, "it was set");
    } catch (const LumSecAuth::NotAuthorizedException&) {
    }
    Expect(!node.Holds("CLUSTER_TYPE"), "it was set");
    WriteText(node.root.Native() + "/etc/authorization.ini", "[conf]\nsomebody else=128\n");
    node.server->UpdateAuthorization();
    node.Follow();
    Expect(node.Holds("CLUSTER_TYPE=the product\n"), "the right 128 is enough");
}

void WhereNobodyListensItFails() {
    ServingNode node("node-1");
    node.server->Stop();
    try {
        node.Follow();
        Expect(false, "somebody listens");
    } catch (const LumPalNet::ConnectException_t&) {
    }
    Expect(!node.Holds("CLUSTER_TYPE"), "it was set");
    std::_Exit(0);  // the server was stopped, and is not stopped once more
}

struct TrialRow {
    const char* what;
    void (*trial)();
};

class MonitorWriteBack : public testing::TestWithParam<TrialRow> {};

TEST_P(MonitorWriteBack, OverTls) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(InProcess(GetParam().trial), testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Rows, MonitorWriteBack,
                         testing::Values(TrialRow{"EmptyKeysAreSet", EmptyKeysAreSet},
                                         TrialRow{"AnOddProductIsOverwritten", AnOddProductIsOverwrittenAndNothingElse},
                                         TrialRow{"WithoutTheRightNothingIsSet", WithoutTheRightNothingIsSet},
                                         TrialRow{"WhereNobodyListensItFails", WhereNobodyListensItFails}),
                         [](const auto& info) { return std::string(info.param.what); });

}  // namespace
}  // namespace LumConf
