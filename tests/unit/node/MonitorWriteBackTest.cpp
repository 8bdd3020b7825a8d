// What the monitor sets on its own node, by a request over TLS.
#include "LumPalNet.h"
#include "LumSecAuth.h"
#include "MonitorKeys.h"
#include "ServingNode.h"

namespace LumConf {
namespace {

using LumConfCluster::LocalName;
using LumPalStr::String_t;

/// The node, and the fields of its monitor.
struct FollowingNode : ServingNode {
    using ServingNode::ServingNode;
    LocalName Follow() { return LumConfCluster::FollowKeys({type, interval, mode}); }

    String_t type = "the product";
    std::int32_t interval = 1234;
    bool mode = false;
};

void EmptyKeysAreSet() {
    FollowingNode node("node-1");
    const LocalName local = node.Follow();
    Expect(local.isExact && local.name == "127.0.0.1", "the local name");
    for (const char* line : {"CLUSTER_TYPE=the product\n", "POLLING_INTERVAL=1234\n", "MONITOR_MODE=FALSE\n"})
        Expect(node.Holds(line), line + node.Settings());
    Expect(node.interval == 1234 && !node.mode, "the values are gone by at once");
}

void AnOddProductIsOverwrittenAndNothingElse() {
    FollowingNode node("node-1");
    Configure("conf.cluster", "CLUSTER_TYPE", "odd");
    Configure("conf.cluster", "POLLING_INTERVAL", "50");
    Configure("conf.cluster", "MONITOR_MODE", "yes");
    Configure("conf.cluster", "TOOL_TIMEOUT", "7");
    node.Follow();
    for (const char* line :
         {"CLUSTER_TYPE=the product\n", "POLLING_INTERVAL=50\n", "MONITOR_MODE=yes\n", "TOOL_TIMEOUT=7\n"})
        Expect(node.Holds(line), line + node.Settings());
    const std::string before = node.Settings();
    node.Server().StopReceiving();
    node.Follow();
    Expect(node.Settings() == before, "it was asked though nothing was to be set");
}

void WithoutTheRightNothingIsSet() {
    FollowingNode node("somebody else");
    try {
        node.Follow();
        Expect(false, "it was set");
    } catch (const LumSecAuth::NotAuthorizedException&) {
    }
    Expect(!node.Holds("CLUSTER_TYPE"), "it was set");
    node.Grant("somebody else=128");
    node.Follow();
    Expect(node.Holds("CLUSTER_TYPE=the product\n"), "the right 128 is enough");
}

void WhereNobodyListensItFails() {
    FollowingNode node("node-1");
    node.Stop();
    try {
        node.Follow();
        Expect(false, "somebody listens");
    } catch (const LumPalNet::ConnectException_t&) {
    }
    Expect(!node.Holds("CLUSTER_TYPE"), "it was set");
}

class MonitorWriteBack : public testing::TestWithParam<TrialRow> {};

TEST_P(MonitorWriteBack, OverTls) {
    ExpectToPassInAProcess(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Rows, MonitorWriteBack,
                         testing::Values(TrialRow{"EmptyKeysAreSet", EmptyKeysAreSet},
                                         TrialRow{"AnOddProductIsOverwritten", AnOddProductIsOverwrittenAndNothingElse},
                                         TrialRow{"WithoutTheRightNothingIsSet", WithoutTheRightNothingIsSet},
                                         TrialRow{"WhereNobodyListensItFails", WhereNobodyListensItFails}),
                         NameOf);

}  // namespace
}  // namespace LumConf
