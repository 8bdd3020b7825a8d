// The monitor on its thread, beside all else that a node does.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "CapturedLog.h"
#include "Exceptions.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumConfCluster/ClusterMonitor.h"
#include "LumCtrl.h"
#include "LumPalDaemon.h"
#include "PolicyContainer.h"
#include "ProcessNode.h"
#include "Raised.h"
#include "Selection.h"
#include "VcsNode.h"

namespace LumConf {
namespace {

using LumConfCluster::ClusterBase;
using LumConfCluster::ClusterMonitor;
using std::chrono::steady_clock;

class MonitorOfANode : public testing::Test {
protected:
    MonitorOfANode() {
        Set("CLUSTER_LOCAL_NODENAME", "north");
        Set("CLUSTER_TYPE", "VERITAS Cluster Server (VCS)");
        Set("POLLING_INTERVAL", "1");
        Set("MONITOR_MODE", "true");
        control.Start();
    }
    ~MonitorOfANode() override {
        control.Stop();
        LumPalRuntime::SetStopping(false);
        LumPalConfig::ConfigUpdate_t update("");
        update.ClearNamespace("conf.cluster");
        update.Apply();
        ClusterBase::SetClusterEnvDetected(false);
    }
    static void Set(const char* key, const char* value) { Configure("conf.cluster", key, value); }
    void Install(const char* id, const char* attribute) const {
        TestPolicy policy;
        policy.id = policy.name = id;
        policy.attributes = {{attribute, "v"}};
        node.Install(policy);
    }
    bool IsEnabled(const char* id) const {
        return node->GetPolicyContainer("conf.cluster", Selection()).GetPolicyHeader(id).IsEnabled();
    }
    void Move(const std::string& system) {
        for (const char* each : {"north", "south"})
            cluster.SetState("web", each, each == system ? "|ONLINE|" : "|OFFLINE|");
    }

    VcsNode cluster;
    ProcessNode& node = ProcessNode::Fresh();
    CapturedLog log{node.Root()};
    LumCtrl::Service control;  ///< consumers would be told
};

TEST_F(MonitorOfANode, PoliciesFollowTheirGroupUntilItIsStopped) {
    Install("p", "HARG:web");
    ClusterMonitor monitor;
    monitor.Start();
    EXPECT_TRUE(monitor.IsRunning());
    for (const char* system : {"north", "south", "north"}) {
        Move(system);
        EXPECT_TRUE(Eventually([&] { return IsEnabled("p") == (std::string(system) == "north"); })) << system;
        EXPECT_TRUE(monitor.IsRunning());
        EXPECT_RAISES(monitor.Start(), ClusterMonitorException, 247);
    }
    monitor.Stop();
    EXPECT_FALSE(monitor.IsRunning());
    EXPECT_RAISES(monitor.Start(), ClusterMonitorException, 247);
}

TEST_F(MonitorOfANode, ASuccessorTakesThePlaceOfOneThatWasStopped) {
    Install("p", "HARG:web");
    for (const char* system : {"north", "south"}) {
        Move(system);
        ClusterMonitor monitor;
        monitor.Start();
        EXPECT_TRUE(Eventually([&] { return IsEnabled("p") == (std::string(system) == "north"); })) << system;
        monitor.Stop();
    }
}

TEST_F(MonitorOfANode, AFailureInACycleEndsTheThreadAndIsLoggedByBoth) {
    ClusterMonitor monitor;
    Set("CLUSTER_LOCAL_NODENAME", "127.0.0.1:1");  // nobody listens there
    Set("MONITOR_MODE", "");
    monitor.Start();
    EXPECT_TRUE(Eventually([&] { return log.Holds("An exception ended the thread 'LumConfCluster_ClusterMonitor'"); }));
    monitor.Stop();
    EXPECT_FALSE(monitor.IsRunning());
    EXPECT_TRUE(log.Holds("Exception in monitor thread.")) << log.Text();
}

TEST_F(MonitorOfANode, InAStoppingProcessItEndsAlsoWhenNobodyStopsIt) {
    ClusterMonitor monitor;
    monitor.Start();
    EXPECT_TRUE(Eventually([&] { return cluster.tools.Count("haclus -value ClusterName") > 1; }));
    LumPalRuntime::SetStopping(true);
    EXPECT_TRUE(Eventually([&] { return !monitor.IsRunning(); }));
    monitor.Stop();
    EXPECT_FALSE(log.Holds("An exception ended the thread")) << log.Text();
}

TEST_F(MonitorOfANode, AStoppingProcessDoesNotWaitForATool) {
    ClusterMonitor monitor;
    monitor.Start();
    const std::string mark = node.Root() + "/hangs";
    WriteText("/opt/VRTSvcs/bin/hasys", "#!/bin/sh\n: >'" + mark + "'\nsleep 1000\n");
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(mark); }));
    const auto begin = steady_clock::now();
    LumPalRuntime::SetStopping(true);
    monitor.Stop();
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(MonitorOfANode, AStoppingProcessDoesNotWaitForTheInterval) {
    Set("POLLING_INTERVAL", "3600000");
    ClusterMonitor monitor;
    Install("p", "HARG:noHARG");
    monitor.Start();
    EXPECT_TRUE(Eventually([&] { return cluster.tools.Count("haclus -value ClusterName") > 1; }));
    const auto begin = steady_clock::now();
    LumPalRuntime::SetStopping(true);
    monitor.Stop();
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(MonitorOfANode, InstallsAndSettingsGoOnBesideIt) {
    Move("north");
    Install("kept", "HARG:web");
    ClusterMonitor monitor;
    monitor.Start();
    constexpr int kRounds = 20;
    std::thread installs([&] {
        for (int i = 0; i < kRounds; ++i) {
            Install("p", i % 2 ? "HARG:web" : "other");
            node->Remove("conf.cluster", Selection().SetPolicyId("p"), PolicyForwarder::Options().SetNotify(false));
        }
    });
    std::thread settings([&] {
        for (int i = 0; i < kRounds; ++i) Set("MONITOR_MODE", i % 2 ? "true" : "false");
    });
    const auto cycles = [&] { return cluster.tools.Count("haclus -value ClusterName"); };
    const std::size_t before = cycles();
    for (std::size_t i = 0; i < kRounds; ++i) {
        Move(i % 2 ? "north" : "south");
        // Whether somebody has switched it off, or policy work holds it up: it goes on.
        EXPECT_TRUE(Eventually([&] {
            Set("MONITOR_MODE", "true");
            return cycles() > before + i;
        }));
    }
    installs.join();
    settings.join();
    Set("MONITOR_MODE", "true");
    Move("north");
    EXPECT_TRUE(Eventually([&] { return IsEnabled("kept"); }));
    EXPECT_TRUE(monitor.IsRunning());
    monitor.Stop();
}

}  // namespace
}  // namespace LumConf
