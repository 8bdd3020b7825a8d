#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ClusterSeen.h"
#include "Configure.h"
#include "EachToolFails.h"
#include "Exceptions.h"
#include "LumConfCluster/Applications.h"
#include "LumConfCluster/Cluster.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumConfCluster/ClusterUtil.h"
#include "PcmkFixture.h"
#include "PolicyHeader.h"
#include "PolicyHeaderImpl.h"
#include "Raised.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;

TEST_F(Pcmk, AsksEachToolOnceForEachQuestion) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetType(), ClusterType::Pcmk);
    EXPECT_EQ(cluster.GetName(), "harbour");
    EXPECT_EQ(tools.Calls(), Texts{PcmkNode::kAdmin});
    const auto calls = [&](auto&& ask) {
        tools.ForgetCalls();
        ask();
        return tools.Calls();
    };
    EXPECT_EQ(calls([&] { cluster.GetState(); }), Texts{PcmkNode::kMonitor});
    EXPECT_EQ(calls([&] { cluster.GetNodes(); }), Texts{PcmkNode::kMonitor});
    EXPECT_EQ(calls([&] { cluster.GetGroupNodes("web"); }), (Texts{PcmkNode::kMonitor, PcmkNode::kAdmin}));
    EXPECT_EQ(calls([&] { cluster.GetVirtualIP("web"); }), Texts{PcmkNode::kAdmin});
    std::string many;
    for (int i = 0; i < 100; ++i) many += PcmkResourceText("r" + std::to_string(i), "Started", "north");
    node.SetResources(many);
    EXPECT_EQ(calls([&] {
                  const ClusterResourceGroups groups = cluster.GetGroups();
                  for (int i = 0; i < 100; ++i) groups[i].GetVirtualIP();
              }),
              (Texts{PcmkNode::kMonitor, PcmkNode::kAdmin}))
        << "however many groups there are, their addresses too";
}

TEST_F(Pcmk, AsksEachToolOnceAlsoWhereWhatRunsIsToldByItsNodeAlone) {
    const Cluster cluster;
    node.SetNodes("<node name='north' id='1' online='true' type='member'>" +
                  PcmkResourceText("web-server", "Started", "north") + "</node>");
    node.SetResources("");
    const auto calls = [&](auto&& ask) {
        tools.ForgetCalls();
        ask();
        return tools.Calls();
    };
    const Texts once{PcmkNode::kMonitor, PcmkNode::kAdmin};
    EXPECT_EQ(calls([&] {
                  const ClusterResourceGroups groups = cluster.GetGroups();
                  ASSERT_EQ(groups.Count(), 1);
                  EXPECT_EQ(groups[0].GetName(), "web");
                  EXPECT_EQ(groups[0].GetVirtualIP(), "10.0.0.7");
              }),
              once);
    EXPECT_EQ(calls([&] { EXPECT_EQ(cluster.GetGroupNodes("web").Count(), 1); }), once);
    EXPECT_EQ(calls([&] { cluster.GetState(); }), Texts{PcmkNode::kMonitor});
    EXPECT_EQ(calls([&] { cluster.GetNodes(); }), Texts{PcmkNode::kMonitor});
}

TEST_F(Pcmk, ANodeWithoutAConfiguredNameAsksTheProductForIt) {
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    tools.Answer("crm_node -n", "south\n");
    EXPECT_EQ(Cluster().GetGroups()["web"].GetLocalState(), RGState::Online);
    EXPECT_EQ(tools.Count("crm_node -n"), 1u);
}

TEST_F(Pcmk, AMachineWithoutAConfigurationIsNoNode) {
    std::filesystem::remove(PcmkNode::kCib);
    EXPECT_RAISES(Cluster(), ClusterException, 211);
    EXPECT_EQ(InstalledType(), ClusterType::Unknown);
    EXPECT_EQ(UnconfiguredType(), ClusterType::Pcmk);
    EXPECT_EQ(tools.Calls(), Texts{});
    WriteText(PcmkNode::kCib, "");
    EXPECT_EQ(InstalledType(), ClusterType::Pcmk);
    EXPECT_EQ(UnconfiguredType(), ClusterType::Unknown);
    std::filesystem::remove("/usr/sbin/pacemakerd");
    EXPECT_EQ(InstalledType(), ClusterType::Unknown);
    EXPECT_EQ(UnconfiguredType(), ClusterType::Unknown);
}

TEST_F(Pcmk, IsUpWithAQuorumOnANodeThatIsOnline) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetState(), ClusterState::Up);
    struct Case {
        const char* flags;
        ClusterState state;
    };
    for (const Case& row :
         {Case{"online='true' standby='true'", ClusterState::Up},
          Case{"online='true' maintenance='true'", ClusterState::Up}, Case{"online='false'", ClusterState::Down},
          Case{"", ClusterState::Down}, Case{"online='true' pending='true'", ClusterState::Unknown},
          Case{"online='true' unclean='true'", ClusterState::Unknown},
          Case{"online='false' unclean='true'", ClusterState::Unknown}}) {
        node.SetNodes(PcmkNode::Node("north", "1", row.flags));
        EXPECT_EQ(cluster.GetState(), row.state) << row.flags;
    }
    node.SetNodes(PcmkNode::Node("NORTH", "1", "online='true'"));
    EXPECT_EQ(cluster.GetState(), ClusterState::Unknown) << "this one is no node of it";
    node.SetNodes(PcmkNode::Node("north", "1", "online='true'"));
    node.SetSummary("<current_dc present='true' with_quorum='false'/>");
    EXPECT_EQ(cluster.GetState(), ClusterState::Down);
    for (const char* summary : {"<current_dc present='false'/>", ""}) {
        node.SetSummary(summary);
        EXPECT_EQ(cluster.GetState(), ClusterState::Unknown) << "nobody controls it";
    }
}

TEST_F(Pcmk, NodesHaveTheirIdsAndTellWhatTheirStateDoesNot) {
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east"}));
    EXPECT_EQ(nodes["south"].GetId(), 2);
    EXPECT_EQ(nodes["south"].GetState(), NodeState::Online);
    EXPECT_EQ(nodes["east"].GetState(), NodeState::Offline);
    EXPECT_EQ(nodes["north"].GetDetail(), "");
    struct Case {
        const char *id, *flags;
        int number;
        NodeState state;
        const char* detail;
    };
    for (const Case& row :
         {Case{"1084783375", "online='true'", 65535, NodeState::Online, ""},
          Case{"3074cde6-2e91", "online='false' standby='true'", 65535, NodeState::Offline, "standby"},
          Case{"4", "online='true' standby='true'", 4, NodeState::Online, "standby"},
          Case{"4", "online='true' standby_onfail='true'", 4, NodeState::Online, "standby"},
          Case{"4", "online='true' maintenance='true'", 4, NodeState::Online, "maintenance"},
          Case{"4", "online='true' standby='true' maintenance='true'", 4, NodeState::Online, "standby, maintenance"},
          Case{"4", "online='true' pending='true' standby='true'", 4, NodeState::Unknown, "pending"},
          Case{"4", "online='false' unclean='true'", 4, NodeState::Unknown, "unclean"},
          Case{"r", "online='true' type='remote'", 65535, NodeState::Online, "remote"}}) {
        node.SetNodes(PcmkNode::Node("x", row.id, row.flags));
        const ClusterNode seen = Cluster().GetNodes()[0];
        EXPECT_EQ(seen.GetId(), row.number) << row.id;
        EXPECT_EQ(seen.GetState(), row.state) << row.flags;
        EXPECT_EQ(seen.GetDetail(), row.detail) << row.flags;
    }
}

TEST_F(Pcmk, GroupsHaveNameIdStatesNodeAndAddress) {
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups["web"].GetId(), 0);
    EXPECT_EQ(groups["web"].GetState(), RGState::Online);
    EXPECT_EQ(groups["web"].GetLocalState(), RGState::Offline) << "it runs on another node";
    EXPECT_EQ(groups["web"].GetActiveNode().GetName(), "south");
    EXPECT_EQ(groups["web"].GetActiveNode().GetId(), 2);
    EXPECT_EQ(groups["web"].GetVirtualIP(), "10.0.0.7");
    EXPECT_EQ(groups["web"].GetDetail(), "");
    EXPECT_FALSE(groups["web"].IsEverywhere());
    EXPECT_EQ(groups["db"].GetId(), 1);
    EXPECT_EQ(groups["db"].GetState(), RGState::Offline);
    EXPECT_EQ(groups["db"].GetLocalState(), RGState::Offline);
    EXPECT_EQ(groups["db"].GetActiveNode().GetName(), "");
    EXPECT_EQ(groups["db"].GetVirtualIP(), "");
    EXPECT_TRUE(groups["db"].IsVirtualIPKnown());
    node.SetResources("");
    EXPECT_EQ(Cluster().GetGroups().Count(), 0);
}

TEST_F(Pcmk, WhatIsNotOnlineHasNoActiveNode) {
    for (const char* flags : {"failed='true'", "blocked='true'", "managed='false'"}) {
        const ClusterResourceGroup group = GroupOf(PcmkResourceText("a", "Started", "north", flags));
        EXPECT_EQ(group.GetState(), RGState::Unknown) << flags;
        EXPECT_EQ(group.GetLocalState(), RGState::Unknown) << flags;
        EXPECT_EQ(group.GetActiveNode().GetName(), "") << flags;
        EXPECT_NE(group.GetDetail(), "") << flags;
    }
}

TEST_F(Pcmk, ACloneIsOnlineWhereACopyRunsAndHasNoActiveNode) {
    const std::string clone = "<clone id='c' multi_state='false'>" + PcmkResourceText("x", "Started", "south") +
                              PcmkResourceText("x", "Stopped");
    const ClusterResourceGroup elsewhere = GroupOf(clone + "</clone>");
    EXPECT_EQ(elsewhere.GetState(), RGState::Online);
    EXPECT_EQ(elsewhere.GetLocalState(), RGState::Offline);
    EXPECT_EQ(elsewhere.GetActiveNode().GetName(), "");
    EXPECT_TRUE(elsewhere.IsEverywhere());
    const ClusterResourceGroup here = GroupOf(clone + PcmkResourceText("x", "Started", "north") + "</clone>");
    EXPECT_EQ(here.GetLocalState(), RGState::Online);
    EXPECT_EQ(here.GetActiveNode().GetName(), "");
}

TEST_F(Pcmk, APromotableCloneIsActiveWhereItIsPromoted) {
    const ClusterResourceGroup group =
        GroupOf("<clone id='c' multi_state='true'>" + PcmkResourceText("x", "Promoted", "south") +
                PcmkResourceText("x", "Unpromoted", "north") + "</clone>");
    EXPECT_EQ(group.GetState(), RGState::Online);
    EXPECT_EQ(group.GetLocalState(), RGState::Offline);
    EXPECT_EQ(group.GetActiveNode().GetName(), "south");
    EXPECT_FALSE(group.IsEverywhere());
}

TEST_F(Pcmk, WhatIsPromotedOnSeveralNodesNothingCanFollow) {
    node.SetCib(
        "<resources><clone id='c'><meta_attributes><nvpair name='promoted-max' value='2'/></meta_attributes>"
        "<primitive id='x'/></clone></resources>");
    const ClusterResourceGroup group =
        GroupOf("<clone id='c' multi_state='true'>" + PcmkResourceText("x", "Promoted", "south") +
                PcmkResourceText("x", "Promoted", "north") + "</clone>");
    EXPECT_EQ(group.GetState(), RGState::Online);
    EXPECT_EQ(group.GetActiveNode().GetName(), "");
    EXPECT_TRUE(group.IsEverywhere());
}

TEST_F(Pcmk, ABundleOfWhichNothingRunsIsPromotableWhereItIsConfiguredSo) {
    const std::string replica = PcmkResourceText("x", "Stopped") + "</replica>";
    node.SetResources("<bundle id='b'><replica id='0'>" + replica + "<replica id='1'>" + replica + "</bundle>");
    const auto isEverywhere = [&](const std::string& container) {
        node.SetCib("<resources><bundle id='b'>" + container + "<primitive id='x'/></bundle></resources>");
        return Cluster().GetGroups()[0].IsEverywhere();
    };
    EXPECT_TRUE(isEverywhere("<docker replicas='2'/>"));
    EXPECT_TRUE(isEverywhere("<docker promoted-max='0'/>"));
    EXPECT_FALSE(isEverywhere("<docker promoted-max='1'/>"));
    EXPECT_FALSE(isEverywhere("<podman masters='1'/>"));
    node.SetCib("<resources><bundle id='other'><docker promoted-max='1'/></bundle></resources>");
    EXPECT_TRUE(Cluster().GetGroups()[0].IsEverywhere());
}

/// Nobody has configured what this node, whose host has another name, is called.
class PcmkWithoutAName : public Pcmk {
protected:
    PcmkWithoutAName() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
        tools.Answer("crm_node -n", "south\n");
    }
    static bool IsEnabledOnInstalling(const char* group) {
        ClusterBase::SetClusterEnvDetected(true);
        LumConf::PolicyHeader header;
        header.SetAttribute(String_t("HARG:") + group, "");
        header.GetImpl()->SetStatus("enabled");
        ClusterUtil::ChangeHeader(header.GetImpl());
        ClusterBase::SetClusterEnvDetected(false);
        return header.GetStatus() == "enabled";
    }
};

TEST_F(PcmkWithoutAName, TheClusterTellsIt) {
    EXPECT_EQ(Cluster().GetLocalNodeName(), "south");
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
    EXPECT_EQ(Cluster().GetLocalNodeName(), "") << "that counts";
}

TEST_F(PcmkWithoutAName, APolicyOfAGroupThatIsHereStaysEnabled) {
    EXPECT_TRUE(IsEnabledOnInstalling("web"));
    tools.Answer("crm_node -n", "north\n");
    EXPECT_FALSE(IsEnabledOnInstalling("web"));
}

TEST_F(PcmkWithoutAName, AnInstanceOfAGroupThatIsHereIsOnlineHere) {
    WriteText(node.root.Native() + "/conf/conf/apminfo.xml",
              "<APMClusterConfiguration><Application><Name>shop</Name><Instance><Name>till</Name><Package>web</Package>"
              "</Instance></Application></APMClusterConfiguration>");
    WriteText(node.root.Native() + "/bin/instrumentation/conf/shop.apm.xml",
              "<APMApplicationConfiguration><Application/></APMApplicationConfiguration>");
    const auto till = [] {
        const Cluster cluster;
        Applications applications;
        applications.LoadConfig(cluster, cluster.GetGroups());
        return applications[0].GetInstances()[0];
    };
    EXPECT_TRUE(till().IsActiveNodeLocal());
    EXPECT_EQ(till().GetState(), InstanceState::Online);
    EXPECT_EQ(till().GetLocalHost(), "south");
    tools.Answer("crm_node -n", "north\n");
    EXPECT_FALSE(till().IsActiveNodeLocal());
    EXPECT_EQ(till().GetState(), InstanceState::Offline);
}

TEST_F(Pcmk, AConfigurationMapsTheWordsOfGroups) {
    Configure("conf.cluster.RGState.PCMK", "Unmanaged", "online");
    Configure("conf.cluster.RGState.PCMK", "Partial", "UNKNOWN");
    const auto stateOf = [&](const char* role, const char* flags) {
        return GroupOf(PcmkResourceText("a", role, "north", flags));
    };
    EXPECT_EQ(stateOf("Started", "managed='false'").GetState(), RGState::Online);
    EXPECT_EQ(stateOf("Started", "managed='false'").GetLocalState(), RGState::Online);
    EXPECT_EQ(stateOf("Started", "managed='false'").GetActiveNode().GetName(), "north");
    EXPECT_EQ(stateOf("Started", "").GetState(), RGState::Offline) << "a word without a key";
    EXPECT_EQ(stateOf("Started", "failed='true'").GetState(), RGState::Offline);
    EXPECT_EQ(stateOf("Started", "pending='Starting'").GetState(), RGState::Unknown);
}

TEST_F(Pcmk, AnAddressThatCannotBeHadIsAskedForAgain) {
    tools.Answer(PcmkNode::kAdmin, "<cib/>");
    const Cluster cluster;
    EXPECT_EQ(cluster.GetName(), "");
    tools.Answer(PcmkNode::kAdmin, "", 1);
    node.SetResources(PcmkResourceText("web", "Started", "south"));
    const ClusterResourceGroup group = cluster.GetGroups()["web"];
    EXPECT_EQ(group.GetState(), RGState::Online);
    EXPECT_FALSE(group.IsVirtualIPKnown());
    EXPECT_RAISES(group.GetVirtualIP(), ClusterException, 0);
    node.SetCib(
        "<resources><primitive id='web' type='IPaddr'><instance_attributes><nvpair name='ip' value='::1'/>"
        "</instance_attributes></primitive></resources>");
    EXPECT_EQ(group.GetVirtualIP(), "::1");
}

TEST_F(Pcmk, AGuestIsANodeAndItsConnectionIsNoGroup) {
    const auto connection = [](const std::string& id) {
        return "<resource id='" + id +
               "' resource_agent='ocf:pacemaker:remote' role='Started'><node name='south'/></resource>";
    };
    node.SetNodes(PcmkNode::Node("south", "2", "online='true' type='member'") +
                  PcmkNode::Node("guest", "guest", "online='true' type='remote' id_as_resource='vm'") +
                  PcmkNode::Node("far", "far", "online='true' type='remote'"));
    node.SetResources("<group id='machine'>" + PcmkResourceText("vm", "Started", "south") + "</group>" +
                      PcmkResourceText("job", "Started", "guest") + connection("far") + connection("guest"));
    node.SetCib(
        "<resources><group id='machine'><primitive id='vm'/></group><primitive id='job'/><primitive id='far'/>"
        "</resources>");
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroups()), (Texts{"machine", "job", "far"}));
    EXPECT_EQ(Names(cluster.GetNodes()), (Texts{"south", "guest", "far"}));
    EXPECT_EQ(Names(cluster.GetGroupNodes("machine")), Texts{"south"}) << "it is the guest";
    EXPECT_EQ(Names(cluster.GetGroupNodes("far")), Texts{"south"});
    EXPECT_EQ(Names(cluster.GetGroupNodes("job")), (Texts{"south", "guest", "far"}));
}

TEST_F(Pcmk, TheAddressOfAPromotedBundleIsThatOfItsPromotedReplica) {
    const auto replica = [](const std::string& number, const std::string& address, const std::string& host,
                            const std::string& role) {
        return "<replica id='" + number + "'>" + PcmkResourceText("two-ip-" + address, "Started", host) +
               PcmkResourceText("inner", role, host) + "</replica>";
    };
    const auto addressOf = [&](const std::string& range, const std::string& first, const std::string& second) {
        node.SetCib("<resources><bundle id='two'><podman promoted-max='1'/><network ip-range-start='" + range +
                    "'/><primitive id='inner'/></bundle></resources>");
        node.SetResources("<bundle id='two'>" + first + second + "</bundle>");
        return Cluster().GetGroups()["two"].GetVirtualIP().ToUtf8();
    };
    EXPECT_EQ(addressOf("10.0.0.5", replica("0", "10.0.0.5", "north", "Unpromoted"),
                        replica("1", "10.0.0.6", "south", "Promoted")),
              "10.0.0.6");
    EXPECT_EQ(addressOf("10.0.0.5", replica("0", "10.0.0.5", "south", "Unpromoted"),
                        replica("1", "10.0.0.6", "south", "Promoted")),
              "10.0.0.6")
        << "both are on one host";
    EXPECT_EQ(addressOf("fd00::5", replica("0", "fd00..5", "south", "Promoted"), ""), "fd00::5")
        << "of such addresses no id is called";
    EXPECT_EQ(addressOf("10.0.0.5", replica("0", "10.0.0.5", "north", "Unpromoted"),
                        replica("1", "10.0.0.6", "south", "Unpromoted")),
              "10.0.0.5")
        << "nobody is promoted";
}

TEST_F(Pcmk, TheNodesOfAGroupAreThoseThatNothingKeepsItFrom) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"north", "south"}));
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"north", "south", "east"}));
    EXPECT_EQ(cluster.GetGroupNodes("web-ip").Count(), 0) << "it is in a group";
    EXPECT_EQ(cluster.GetGroupNodes("-x \"").Count(), 0) << "no tool gets a name";
}

}  // namespace
