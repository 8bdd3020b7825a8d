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
#include "PcmkNode.h"
#include "PolicyHeader.h"
#include "PolicyHeaderImpl.h"
#include "Raised.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;

class Pcmk : public testing::Test {
protected:
    ClusterResourceGroup GroupOf(const std::string& elements) {
        node.SetResources(elements);
        return Cluster().GetGroups()[0];
    }
    /// What the innermost detail says.
    static std::string Reason(LumPalMsg::MessageList_t messages) {
        std::string text;
        for (; messages.GetMessageCount() > 0; messages = messages.GetMessage(0).GetDetails())
            text = messages.GetMessage(0).GetMessageText().ToUtf8();
        return text;
    }
    std::string WhyNoGroups() {
        return Reason(MessagesOf<ClusterException>([] { Cluster().GetGroups(); }));
    }

    PcmkNode node;
    ToolScripts& tools = node.tools;
};

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
    const ClusterResourceGroup group = cluster.GetGroups()["web"];
    EXPECT_EQ(group.GetState(), RGState::Online);
    EXPECT_FALSE(group.IsVirtualIPKnown());
    EXPECT_RAISES(group.GetVirtualIP(), ClusterException, 0);
    node.SetCib(
        "<resources><primitive id='web' type='IPaddr'><instance_attributes><nvpair name='ip' value='::1'/>"
        "</instance_attributes></primitive></resources>");
    EXPECT_EQ(group.GetVirtualIP(), "::1");
}

TEST_F(Pcmk, TheNodesOfAGroupAreThoseThatNothingKeepsItFrom) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"north", "south"}));
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"north", "south", "east"}));
    EXPECT_EQ(cluster.GetGroupNodes("web-ip").Count(), 0) << "it is in a group";
    EXPECT_EQ(cluster.GetGroupNodes("-x \"").Count(), 0) << "no tool gets a name";
}

TEST_F(Pcmk, AToolThatTellsOfItsFailureHasFailedWhateverItsCode) {
    const auto tell = [&](const std::string& inside) {
        node.SetMonitor("<pacemaker-result>" + inside + "</pacemaker-result>");
    };
    const std::string data = "<summary/><nodes/>";
    tell(data + "<status code='0' message='OK'/>");
    EXPECT_EQ(Cluster().GetGroups().Count(), 0);
    tell(data + "<status code='102' message='Not connected'><errors><error>no cluster</error></errors></status>");
    EXPECT_EQ(WhyNoGroups(),
              "The command told that it has failed with '102' (Not connected: no cluster): "
              "\"/usr/sbin/crm_mon\" -1 --output-as=xml");
    tell(
        "<status code='0' message='OK'><errors><error>Could not connect to the CIB: No such device</error></errors>"
        "</status>");
    EXPECT_NE(WhyNoGroups().find("failed with '0' (Could not connect to the CIB: No such device)"), std::string::npos);
    tell(data + "<status code='0' message='OK'><errors><error>no history</error></errors></status>");
    EXPECT_EQ(Cluster().GetGroups().Count(), 0) << "what was told besides counts";
    for (const char* inside : {"", "<summary/><nodes/>", "<status code='0'/>", "<nodes/><status code='0'/>"}) {
        tell(inside);
        EXPECT_NE(WhyNoGroups().find("told nothing of the cluster"), std::string::npos) << inside;
    }
    tell("<summary/><nodes/><status/>");
    EXPECT_NE(WhyNoGroups().find("failed with ''"), std::string::npos);
}

TEST_F(Pcmk, AReleaseThatIsTooOldIsNamedAsSuch) {
    node.SetMonitor(ReadText(LUM_TEST_DATA "/recorded/pcmk/crm_mon-old.xml"));
    EXPECT_NE(WhyNoGroups().find("Pacemaker 2.0.3 or later is needed"), std::string::npos);
    node.SetMonitor("<html/>");
    EXPECT_NE(WhyNoGroups().find("an element 'html' in place of its result"), std::string::npos);
}

TEST_F(Pcmk, AReleaseThatDoesNotKnowTheOptionIsNamedAsTooOldWithWhatItSaid) {
    node.SetMonitor("", 64);
    tools.Say(PcmkNode::kMonitor, "crm_mon: unrecognized option '--output-as=xml'\n\x1b[1mSee --help\n");
    EXPECT_EQ(WhyNoGroups(),
              "The command printed no XML and returned '64' (crm_mon: unrecognized option '--output-as=xml'  [1mSee "
              "--help). Pacemaker 2.0.3 or later is needed: \"/usr/sbin/crm_mon\" -1 --output-as=xml");
    node.SetMonitor("Cluster Summary:\n", 64);
    EXPECT_NE(WhyNoGroups().find("Pacemaker 2.0.3 or later is needed"), std::string::npos);
    node.SetMonitor("Stack: corosync\n");
    tools.Say(PcmkNode::kMonitor, "");
    EXPECT_NE(WhyNoGroups().find("returned '0' (it said nothing). Pacemaker 2.0.3 or later"), std::string::npos);
}

TEST_F(Pcmk, TheReasonOfAToolThatFailsIsReadInItsOwnWords) {
    node.SetMonitor(
        "<pacemaker-result><status code='102' message='Not connected'><errors><error>crm_mon: Connection to cluster "
        "failed</error><error>Transport endpoint</error></errors></status></pacemaker-result>",
        102);
    EXPECT_EQ(WhyNoGroups(),
              "The command told that it has failed with '102' (Not connected: crm_mon: Connection to cluster failed "
              "Transport endpoint): \"/usr/sbin/crm_mon\" -1 --output-as=xml");
    node.SetMonitor("", 102);
    tools.Say(PcmkNode::kMonitor, "crm_mon: Not connected\n");
    EXPECT_NE(WhyNoGroups().find("failed with '102' (crm_mon: Not connected)"), std::string::npos);
    tools.Answer(PcmkNode::kAdmin, "", 102);
    tools.Say(PcmkNode::kAdmin, "Signon to CIB failed: Transport endpoint is not connected\n");
    EXPECT_EQ(Reason(MessagesOf<ClusterException>([] { Cluster(); })),
              "The command told that it has failed with '102' (Signon to CIB failed: Transport endpoint is not "
              "connected): \"/usr/sbin/cibadmin\" -Q");
}

TEST_F(Pcmk, AResultThatTellsOfSuccessCountsForNothingWhereTheToolFailed) {
    node.SetMonitor("<pacemaker-result><summary/><nodes/><status code='0' message='OK'/></pacemaker-result>", 139);
    EXPECT_EQ(Reason(MessagesOf<ClusterException>([] { Cluster().GetGroups(); })),
              "The command was: \"/usr/sbin/crm_mon\" -1 --output-as=xml");
}

TEST_F(Pcmk, WhatIsNoDocumentIsAnError) {
    for (const std::string& output :
         {std::string(), std::string("Online: [ a ]\n"), std::string("<a>"), std::string("<a/><b/>"),
          std::string("<!DOCTYPE a [<!ENTITY % e SYSTEM '/etc/passwd'> %e;]><a/>"),
          std::string("<!DOCTYPE a SYSTEM 'http://127.0.0.1/x'><a>&b;</a>"), std::string("<a>\x01</a>"), [] {
              std::string deep;
              for (int i = 0; i < 1001; ++i) deep += "<a>";
              return deep;
          }()}) {
        node.SetMonitor(output);
        EXPECT_RAISES(Cluster().GetGroups(), ClusterException, 231);
        EXPECT_RAISES(Cluster().GetNodes(), ClusterException, 224);
        EXPECT_RAISES(Cluster().GetState(), ClusterException, 236);
        EXPECT_RAISES(Cluster().GetGroupNodes("web"), ClusterException, 0);
    }
    node.SetMonitor("<pacemaker-result>" + std::string(33 << 20, ' ') + "</pacemaker-result>");
    EXPECT_NE(WhyNoGroups().find("at most '33554432' bytes"), std::string::npos);
    tools.Answer(PcmkNode::kAdmin, "x");
    const auto messages = MessagesOf<ClusterException>([] { Cluster(); });
    EXPECT_EQ(String_t(messages), "Can not instantiate Pacemaker cluster object.");
}

TEST_F(Pcmk, AnEntityBombDoesNotGrow) {
    std::string bomb = "<!DOCTYPE a [<!ENTITY a0 'aaaaaaaaaaaaaaaaaaaa'>";
    for (int i = 1; i < 30; ++i) {
        const std::string former = "&a" + std::to_string(i - 1) + ";";
        bomb += "<!ENTITY a" + std::to_string(i) + " '" + former + former + former + former + "'>";
    }
    node.SetMonitor(bomb + "]><pacemaker-result>&a29;</pacemaker-result>");
    EXPECT_RAISES(Cluster().GetGroups(), ClusterException, 231);
}

TEST_F(Pcmk, NamesOfAnyKindAreGivenAsTheyAre) {
    node.SetResources(PcmkResourceText("--help", "Started", "north") + PcmkResourceText("a b;c$(d)&quot;", "Stopped") +
                      PcmkResourceText("", "Stopped"));
    EXPECT_EQ(Names(Cluster().GetGroups()), (Texts{"--help", "a b;c$(d)\"", ""}));
    EXPECT_EQ(Names(Cluster().GetGroupNodes("--help")), (Texts{"north", "south", "east"}));
}

TEST_F(Pcmk, ToolsRunBehindWhatTheEnvironmentSays) {
    setenv("LUM_SUDO", "/usr/bin/env LUM_SEEN=1", 1);
    EXPECT_EQ(Cluster().GetName(), "harbour");
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 0);
    unsetenv("LUM_SUDO");
}

TEST_F(Pcmk, EachToolThatFailsIsAnErrorButForTheAddressesOfAList) {
    EXPECT_EQ(AskAll(), 2);
    tools.ForgetCalls();
    AskAll();
    EXPECT_EQ(tools.Calls(), (Texts{PcmkNode::kAdmin, PcmkNode::kMonitor, PcmkNode::kMonitor, PcmkNode::kMonitor,
                                    PcmkNode::kAdmin, PcmkNode::kAdmin, PcmkNode::kMonitor, PcmkNode::kAdmin}));
    // Errors of the product's own bear no number: what they are is told in other tests.
    int raised = 0;
    for (std::size_t failing = 1; failing <= 8; ++failing) {
        tools.ForgetCalls();
        tools.FailAt(failing);
        try {
            AskAll();
        } catch (const ClusterException& e) {
            ++raised;
            EXPECT_NE(Reason(e.GetMessageList()), "");
        }
    }
    tools.FailAt(0);
    EXPECT_EQ(raised, 7);
}

}  // namespace
