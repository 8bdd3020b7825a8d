// A monitor that runs while requests over TLS change its settings.
#include <filesystem>
#include <functional>
#include <thread>

#include "CapturedLog.h"
#include "InstallOptions.h"
#include "LumConfCluster/ClusterMonitor.h"
#include "LumCtrl.h"
#include "LumPalNet.h"
#include "PolicyContainer.h"
#include "PolicyForwarder.h"
#include "PolicyOperation.h"
#include "Selection.h"
#include "ServingNode.h"
#include "SettingsForwarder.h"
#include "TestPolicy.h"
#include "VcsNode.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using Keys = std::initializer_list<std::pair<const char*, const char*>>;

constexpr const char* kTitle = "VERITAS Cluster Server (VCS)";

/// The node as the first system of its cluster, with a monitor that runs, and the policy p of the group web.
class RunningNode {
public:
    explicit RunningNode(const char* certifiedName) : node(certifiedName) {
        cluster.tools.Answer("hasys -list", "127.0.0.1\nsouth\n");
        cluster.tools.Answer("hagrp -value web SystemList", "127.0.0.1 0\tsouth 1\n");
        cluster.AddSystem("127.0.0.1", "10");
        Move("south");
        for (const auto& [key, value] :
             {std::pair{"CLUSTER_TYPE", kTitle}, std::pair{"POLLING_INTERVAL", "1"}, std::pair{"MONITOR_MODE", "true"}})
            Configure("conf.cluster", key, value);
        control.Start();
        TestPolicy policy;
        policy.id = policy.name = "p";
        policy.attributes = {{"HARG:web", "v"}};
        InstallOptions options;
        options.SetNotify(false);
        PolicyOperation::GetInstance()->Install("conf.cluster", policy.Array(), options);
        Start();
    }
    ~RunningNode() {
        monitor->Stop();
        control.Stop();
    }
    /// Another monitor takes the place of the one that has ended.
    void Start() {
        if (monitor) monitor->Stop();
        monitor = std::make_unique<LumConfCluster::ClusterMonitor>();
        monitor->Start();
    }
    bool Runs() const { return monitor->IsRunning(); }
    void Move(const std::string& system) {
        for (const char* each : {"127.0.0.1", "south"})
            cluster.SetState("web", each, each == system ? "|ONLINE|" : "|OFFLINE|");
    }
    void ExpectItFollows(const char* policy = "p") {
        for (const char* system : {"127.0.0.1", "south"}) {
            Move(system);
            const bool here = std::string(system) != "south";
            Expect(Eventually([&] { return IsEnabled(policy) == here; }), "it does not follow\n" + log.Text());
        }
    }
    void ExpectItEndsBy(const char* cause) {
        Expect(Eventually([this] { return !Runs(); }), "it goes on");
        for (const char* words : {"ERROR Exception in monitor thread.", cause})
            Expect(Eventually([&] { return log.Holds(words); }), words + log.Text());
    }
    /// A request of the node itself.
    static void Set(Keys keys) {
        LumPalConfig::Configuration_t configuration{String_t("conf.cluster")};
        for (const auto& [key, value] : keys) configuration.SetAttrValue(key, value);
        LumConfPar::SettingsForwarder().Set("127.0.0.1", configuration);
    }
    static void Clear(const char* key) {
        LumConfPar::SettingsForwarder().Clear("127.0.0.1", LumPalArray::CharArray_t("conf.cluster"),
                                              LumPalArray::CharArray_t(key));
    }
    /// At all of them, from now on. Of the second look the first one's end is known.
    void ExpectItLooksAtItsKeys() {
        for (int i = 0; i < 2; ++i) {
            Set({{"CLUSTER_TYPE", "odd"}});
            ExpectWrittenBack(std::string("CLUSTER_TYPE=") + kTitle);
        }
    }
    void ExpectWrittenBack(const std::string& line) {
        Expect(Eventually([&] { return node.Holds(line + "\n"); }), line + "\n" + node.Settings() + log.Text());
    }
    /// Lets the monitor wait in the middle of a cycle, until it is let go; that cycle fails.
    void Hold() {
        const std::string mark = node.Root() + "/held", waiting = kTool + ".waiting";
        WriteText(waiting,
                  "#!/bin/sh\n: >'" + mark + "'\nwhile [ ! -e '" + Go() + "' ]; do sleep 0.01; done\nexit 1\n");
        std::filesystem::permissions(waiting, std::filesystem::perms::all);
        std::filesystem::copy_file(kTool, kTool + ".kept");
        std::filesystem::rename(waiting, kTool);
        Expect(Eventually([&] { return std::filesystem::exists(mark); }), "no tool runs");
    }
    void LetGo() {
        std::filesystem::rename(kTool + ".kept", kTool);
        WriteText(Go(), "");
    }

    static bool IsEnabled(const char* policy) {
        return PolicyOperation::GetInstance()
            ->GetPolicyContainer("conf.cluster", Selection())
            .GetPolicyHeader(policy)
            .IsEnabled();
    }

private:
    std::string Go() const { return node.Root() + "/go"; }

    const std::string kTool = "/opt/VRTSvcs/bin/haclus";
    VcsNode cluster;

public:
    ServingNode node;
    CapturedLog log{node.Root()};

private:
    LumCtrl::Service control;  ///< consumers would be told
    std::unique_ptr<LumConfCluster::ClusterMonitor> monitor;
};

void WhatRequestsTakeAwayIsWrittenBackAndTheMonitorGoesOn() {
    RunningNode node("node-1");
    node.ExpectItFollows();
    for (int round = 0; round < 5; ++round) {
        RunningNode::Set({{"CLUSTER_TYPE", "odd"}, {"TOOL_TIMEOUT", "77"}});
        node.ExpectWrittenBack(std::string("CLUSTER_TYPE=") + kTitle);
        const std::string interval = std::to_string(2 + round);
        RunningNode::Set({{"POLLING_INTERVAL", interval.c_str()}});
        node.ExpectItLooksAtItsKeys();
        RunningNode::Clear("POLLING_INTERVAL");
        node.ExpectWrittenBack("POLLING_INTERVAL=" + interval);
        RunningNode::Set({{"MONITOR_MODE", ""}});
        node.ExpectWrittenBack("MONITOR_MODE=TRUE");
        node.ExpectItFollows();
    }
    Expect(node.node.Holds("TOOL_TIMEOUT=77\n"), "what is not the monitor's stays");
    Expect(node.Runs(), "it has ended");
    Expect(node.log.Text().find("ERROR") == std::string::npos, node.log.Text());
}

void WhileTheModeIsOffTheKeysAreWrittenBackAndNothingElseIsDone() {
    RunningNode node("node-1");
    node.ExpectItFollows();
    RunningNode::Set({{"MONITOR_MODE", "false"}, {"POLLING_INTERVAL", "3"}});
    node.ExpectItLooksAtItsKeys();
    node.Move("127.0.0.1");
    RunningNode::Clear("POLLING_INTERVAL");
    node.ExpectWrittenBack("POLLING_INTERVAL=3");
    node.ExpectItLooksAtItsKeys();
    Expect(!RunningNode::IsEnabled("p"), "it follows");
    Expect(node.node.Holds("MONITOR_MODE=false\n"), node.node.Settings());
    RunningNode::Set({{"MONITOR_MODE", "true"}});
    Expect(Eventually([] { return RunningNode::IsEnabled("p"); }), "it does not follow");
    Expect(node.Runs(), "it has ended");
}

/// What a thread of requests has met, if anything; the first failure ends it.
class Requests {
public:
    explicit Requests(std::function<void(int)> request)
        : thread([this, request = std::move(request)] {
              try {
                  for (int i = 0; i < kRounds; ++i) request(i);
              } catch (const std::exception& e) {
                  failure = e.what();
              }
          }) {}
    ~Requests() {
        if (thread.joinable()) thread.join();
    }
    void ExpectDone(const std::string& what) {
        thread.join();
        Expect(failure.empty(), what + ": " + failure);
    }

private:
    static constexpr int kRounds = 15;
    std::string failure;
    std::thread thread;
};

void RequestsThatInstallAndRequestsThatSetMeetARunningMonitor() {
    RunningNode node("node-1");
    node.ExpectItFollows();
    TestPolicy policy;
    policy.id = policy.name = "q";
    policy.attributes = {{"HARG:web", "v"}};
    const LumPalIo::File_t file = policy.WriteFiles(node.node.Root() + "/to-install");
    InstallOptions quietly;  // nobody is registered for it
    quietly.SetNotify(false);
    Requests installs([&](int) {
        PolicyForwarder().Install("127.0.0.1", file, quietly);
        Expect(PolicyForwarder().List("127.0.0.1", Selection()).GetCount() == 2, "it is not there");
        PolicyForwarder().Remove("127.0.0.1", Selection().SetPolicyId("q"),
                                 PolicyForwarder::Options().SetNotify(false));
    });
    Requests settings([](int round) {
        LumPalConfig::Configuration_t others{String_t("backup")};
        others.SetAttrValue("TARGET", LumPalStr::NumToStr(round));
        LumConfPar::SettingsForwarder().Set("127.0.0.1", others);
        RunningNode::Set({{"MONITOR_MODE", round % 2 ? "true" : ""}});
    });
    for (int i = 0; i < 15; ++i) node.Move(i % 2 ? "south" : "127.0.0.1");
    installs.ExpectDone("installs");
    settings.ExpectDone("settings");
    Expect(node.node.Holds("TARGET=14\n"), node.node.Settings());
    PolicyForwarder().Install("127.0.0.1", file, quietly);
    node.ExpectItFollows();
    node.ExpectItFollows("q");
    Expect(node.Runs(), "it has ended");
    Expect(node.log.Text().find("ERROR") == std::string::npos, node.log.Text());
}

void WhereTheRightWasTakenBackNothingIsSetAndTheMonitorEnds() {
    RunningNode node("somebody else");
    node.node.Grant("somebody else=128");
    node.ExpectItFollows();
    node.Hold();
    RunningNode::Set({{"CLUSTER_TYPE", "odd"}});
    node.node.Grant("somebody else=64");
    node.LetGo();
    node.ExpectItEndsBy("not authorized");
    Expect(node.node.Holds("CLUSTER_TYPE=odd\n"), "it was set");
    node.node.Grant("somebody else=128");
    node.Start();
    node.ExpectWrittenBack(std::string("CLUSTER_TYPE=") + kTitle);
    node.ExpectItFollows();
}

void WhereNobodyListensNothingIsSetAndTheMonitorEnds() {
    RunningNode node("node-1");
    node.ExpectItFollows();
    RunningNode::Set({{"CLUSTER_LOCAL_NODENAME", "127.0.0.1:1"}, {"CLUSTER_TYPE", "odd"}});
    node.ExpectItEndsBy("Connection refused");
    Expect(node.node.Holds("CLUSTER_TYPE=odd\n"), "it was set");
    RunningNode::Set({{"CLUSTER_LOCAL_NODENAME", "127.0.0.1"}});
    node.Start();
    node.ExpectWrittenBack(std::string("CLUSTER_TYPE=") + kTitle);
    node.ExpectItFollows();
}

class SettingsOfARunningMonitor : public testing::TestWithParam<TrialRow> {};

TEST_P(SettingsOfARunningMonitor, OverTls) {
    ExpectToPassInAProcess(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SettingsOfARunningMonitor,
    testing::Values(TrialRow{"WhatRequestsTakeAwayIsWrittenBack", WhatRequestsTakeAwayIsWrittenBackAndTheMonitorGoesOn},
                    TrialRow{"WhileTheModeIsOff", WhileTheModeIsOffTheKeysAreWrittenBackAndNothingElseIsDone},
                    TrialRow{"InstallsAndSettingsMeetIt", RequestsThatInstallAndRequestsThatSetMeetARunningMonitor},
                    TrialRow{"WithoutTheRightItEnds", WhereTheRightWasTakenBackNothingIsSetAndTheMonitorEnds},
                    TrialRow{"WhereNobodyListensItEnds", WhereNobodyListensNothingIsSetAndTheMonitorEnds}),
    NameOf);

}  // namespace
}  // namespace LumConf
