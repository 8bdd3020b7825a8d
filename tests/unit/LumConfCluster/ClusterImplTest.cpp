#include "ClusterImpl.h"
#include "ClusterResourceGroupImpl.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "CapturedLog.h"
#include "Configure.h"
#include "Exceptions.h"
#include "Files.h"
#include "LumConfCluster/Cluster.h"
#include "LumConfCluster/ClusterBase.h"
#include "Raised.h"
#include "TempRoot.h"
#include "TraceLines.h"
#include "VcsNode.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;

constexpr StateWords<RGState>::Row kWords[]{{"|UP|", RGState::Online}, {"|DOWN|", RGState::Offline}};

/// Overrides no operation.
class BareAdapter : public ClusterImpl {
public:
    explicit BareAdapter(const char* suffix = ".RGState.BARE") : ClusterImpl(ClusterType::Kes) {
        groupStates = StateWords<RGState>(kWords);
        OpenGroupStates(suffix);
    }
    using ClusterImpl::AddTool;
    using ClusterImpl::commands;
    using ClusterImpl::groupStateConfigured;
    using ClusterImpl::GroupStateOf;
    using ClusterImpl::LocalNodeName;
    using ClusterImpl::ReportUnknownLocalState;
};

TEST(ClusterImpl, WhatAProductLacksIsRefusedAndLogged) {
    const TempRoot root;
    const CapturedLog log(root.Native());
    const Cluster cluster(new BareAdapter);
    struct Case {
        unsigned id;
        const char* operation;
        void (*call)(const Cluster&);
    };
    for (const Case& row : {Case{214, "GetState()", [](const Cluster& c) { c.GetState(); }},
                            Case{215, "GetNodes()", [](const Cluster& c) { c.GetNodes(); }},
                            Case{216, "GetGroups()", [](const Cluster& c) { c.GetGroups(); }},
                            Case{217, "GetGroupNodes()", [](const Cluster& c) { c.GetGroupNodes("g"); }},
                            Case{672, "GetVirtualIP()", [](const Cluster& c) { c.GetVirtualIP("g"); }}}) {
        const TraceLines traced;
        const auto messages = MessagesOf<ClusterException>([&] { row.call(cluster); });
        const std::string text = row.operation + std::string(" is not implemented for this cluster type (4).");
        ASSERT_EQ(messages.GetMessageCount(), 1);
        EXPECT_EQ(messages.GetMessage(0).GetId(), row.id);
        EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
        EXPECT_EQ(String_t(messages).ToUtf8(), text);
        EXPECT_TRUE(log.Holds(text));
        EXPECT_TRUE(traced.Contains(text));
    }
    EXPECT_EQ(cluster.GetType(), ClusterType::Kes);
    EXPECT_EQ(cluster.GetName(), "");
}

TEST(ClusterImpl, StatesOfGroupsAreMappedByTheConfiguration) {
    const TempRoot root;
    struct Case {
        const char* value;
        RGState state;
    };
    for (const Case& row :
         {Case{"ONLINE", RGState::Online}, Case{"online", RGState::Online}, Case{"UNKNOWN", RGState::Unknown},
          Case{"Unknown", RGState::Unknown}, Case{"OFFLINE", RGState::Offline}, Case{"PARTIAL", RGState::Offline},
          Case{" ONLINE", RGState::Offline}, Case{"ONLINE_", RGState::Offline}}) {
        Configure("conf.cluster.RGState.BARE", "_WORD_", row.value);
        BareAdapter adapter;
        EXPECT_TRUE(adapter.groupStateConfigured);
        EXPECT_EQ(adapter.MapGroupState("_WORD_"), row.state) << row.value;
        EXPECT_EQ(adapter.GroupStateOf("|WORD|"), row.state) << row.value;
        EXPECT_EQ(adapter.GroupStateOf("|UP|"), RGState::Offline) << "a word that the configuration lacks";
        EXPECT_EQ(adapter.MapGroupState("_word_"), RGState::Offline) << "words differ by their case";
    }
}

TEST(ClusterImpl, WithoutAConfigurationTheTableCounts) {
    const TempRoot root;
    const TraceLines traced;
    BareAdapter adapter;
    EXPECT_FALSE(adapter.groupStateConfigured);
    EXPECT_TRUE(traced.Contains("Can not open the Config Namespace conf.cluster.RGState.BARE"));
    EXPECT_EQ(adapter.GroupStateOf("|UP|"), RGState::Online);
    EXPECT_EQ(adapter.GroupStateOf("|DOWN|"), RGState::Offline);
    EXPECT_EQ(adapter.GroupStateOf("|up|"), RGState::Unknown);
    EXPECT_EQ(adapter.GroupStateOf("_UP_"), RGState::Unknown);
    EXPECT_EQ(adapter.GroupStateOf(""), RGState::Unknown);
}

TEST(ClusterImpl, TheLocalNameIsConfiguredOrTheSystems) {
    const TempRoot root;
    char host[256] = "";
    ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
    EXPECT_EQ(BareAdapter::LocalNodeName().ToUtf8(), host);
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "other");
    EXPECT_EQ(BareAdapter::LocalNodeName(), "other");
}

TEST(ClusterImpl, ToolLinesBeginWithWhatTheEnvironmentSays) {
    BareAdapter adapter;
    unsetenv("LUM_SUDO");
    adapter.AddTool(0, "/opt/my tools", "tool");
    EXPECT_EQ(adapter.commands.at(0), "\"/opt/my tools/tool\"");
    setenv("LUM_SUDO", "", 1);
    adapter.AddTool(0, "/opt", "tool");
    EXPECT_EQ(adapter.commands.at(0), "\"/opt/tool\"");
    setenv("LUM_SUDO", "/usr/bin/sudo -n", 1);
    adapter.AddTool(0, "/opt", "tool");
    EXPECT_EQ(adapter.commands.at(0), "/usr/bin/sudo -n \"/opt/tool\"");
    unsetenv("LUM_SUDO");
}

TEST(ClusterImpl, AnUnknownLocalStateIsLoggedByMonitorsOnly) {
    const TempRoot root;
    const CapturedLog log(root.Native());
    const TraceLines traced;
    BareAdapter::ReportUnknownLocalState("web");
    EXPECT_TRUE(traced.Contains("Local state of group 'web' is unknown."));
    EXPECT_FALSE(log.Holds("Local state"));
    Configure("conf.cluster", "MONITOR_MODE", "true");
    BareAdapter::ReportUnknownLocalState("web");
    EXPECT_TRUE(log.Holds("WARNING Local state of group 'web' is unknown."));
}

TEST(Cluster, IsNotDetectedWithoutAProduct) {
    const OwnOpt opt;
    const TempRoot root;
    const CapturedLog log(root.Native());
    const TraceLines traced;
    const auto messages = MessagesOf<ClusterException>([] { Cluster(); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 211u);
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Info);
    EXPECT_EQ(String_t(messages), "Cluster environment is not detected.");
    EXPECT_TRUE(traced.Contains("Cluster environment is not detected."));
    EXPECT_FALSE(log.Holds("detected"));
}

TEST(Cluster, IsOfTheProductWhoseDaemonFileIsThere) {
    VcsNode node;
    const Cluster cluster;
    EXPECT_EQ(cluster.GetType(), ClusterType::Vcs);
    EXPECT_EQ(cluster.GetName(), "harbour");
    EXPECT_FALSE(ClusterBase::GetClusterEnvDetected()) << "only a monitor sets the flag";
}

TEST(Cluster, MayBeContradictedByTheConfiguredProduct) {
    VcsNode node;
    struct Case {
        const char* configured;
        bool detected;
    };
    for (const Case& row : {Case{"VERITAS Cluster Server (VCS)", true}, Case{"Sun Cluster (SC)", false},
                            Case{"Microsoft Cluster Server (MSCS)", false}, Case{"Unknown", true}, Case{"VCS", true},
                            Case{"sun cluster (sc)", true}}) {
        Configure("conf.cluster", "CLUSTER_TYPE", row.configured);
        if (row.detected) {
            EXPECT_NO_THROW(Cluster()) << row.configured;
        } else {
            EXPECT_RAISES(Cluster(), ClusterException, 211);
        }
    }
    WriteText("/opt/VRTSvcs/bin/had");
    std::filesystem::remove("/opt/VRTSvcs/bin/had");
    Configure("conf.cluster", "CLUSTER_TYPE", "VERITAS Cluster Server (VCS)");
    EXPECT_RAISES(Cluster(), ClusterException, 211);
}

TEST(Cluster, EachOneAsksTheProductAnew) {
    VcsNode node;
    Cluster();
    const Cluster cluster;
    EXPECT_EQ(node.tools.Count("haclus -value ClusterName"), 2u);
    const Cluster copy = cluster;
    EXPECT_EQ(copy.GetName(), "harbour");
    EXPECT_EQ(node.tools.Count("haclus -value ClusterName"), 2u);
    cluster.GetNodes();
    copy.GetNodes();
    EXPECT_EQ(node.tools.Count("hasys -list"), 2u);
}

TEST(ClusterResourceGroupAddress, IsFetchedOnce) {
    VcsNode node;
    const ClusterResourceGroup group = Cluster().GetGroups()["web"];
    const ClusterResourceGroup copy = group;
    EXPECT_EQ(group.GetVirtualIP(), "10.0.0.7");
    node.tools.ForgetCalls();
    EXPECT_EQ(group.GetVirtualIP(), "10.0.0.7");
    EXPECT_EQ(copy.GetVirtualIP(), "10.0.0.7") << "copies share it";
    EXPECT_EQ(group.GetImpl()->virtualIPKnown, 1);
    EXPECT_TRUE(node.tools.Calls().empty());
}

TEST(ClusterResourceGroupAddress, AnEmptyOneIsKnownToo) {
    VcsNode node;
    const ClusterResourceGroup group = Cluster().GetGroups()["db"];
    EXPECT_EQ(group.GetVirtualIP(), "");
    EXPECT_EQ(group.GetImpl()->virtualIPKnown, 1) << "an empty text is known";
    node.tools.ForgetCalls();
    EXPECT_EQ(group.GetVirtualIP(), "");
    EXPECT_TRUE(node.tools.Calls().empty());
}

TEST(ClusterResourceGroupAddress, IsTriedAgainAfterAFailure) {
    VcsNode node;
    const ClusterResourceGroup group = Cluster().GetGroups()["web"];
    node.tools.Answer("hagrp -resources web", "web_ip\n", 1);
    EXPECT_RAISES(group.GetVirtualIP(), ClusterException, 335);
    node.tools.Answer("hagrp -resources web", "web_ip\n");
    EXPECT_EQ(group.GetVirtualIP(), "10.0.0.7");
}

}  // namespace
