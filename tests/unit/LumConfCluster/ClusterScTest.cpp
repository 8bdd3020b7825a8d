#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ClusterSeen.h"
#include "Configure.h"
#include "EachToolFails.h"
#include "Exceptions.h"
#include "LumConfCluster/Cluster.h"
#include "Raised.h"
#include "ScNode.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;

class Sc : public testing::Test {
protected:
    ClusterResourceGroup Group(const char* name) { return Cluster().GetGroups()[name]; }
    Texts CallsOf(const std::string& beginning) {
        Texts found;
        for (const std::string& call : tools.Calls()) {
            if (call.rfind(beginning, 0) == 0) found.push_back(call);
        }
        return found;
    }

    ScNode node;
    ToolScripts& tools = node.tools;
    CapturedLog log{node.root.Native()};
};

TEST_F(Sc, RunsTheToolsInTheirOrderWithTheirWords) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetType(), ClusterType::Sc);
    EXPECT_EQ(cluster.GetName(), "harbour");
    EXPECT_EQ(tools.Calls(), Texts{"scha_cluster_get -O CLUSTERNAME"});
    tools.ForgetCalls();
    cluster.GetState();
    EXPECT_EQ(tools.Calls(), Texts{"scha_cluster_get -O NODESTATE_LOCAL"});
    tools.ForgetCalls();
    cluster.GetGroupNodes("web");
    EXPECT_EQ(tools.Calls(),
              (Texts{"scha_resourcegroup_get -O NODELIST -G web", "scha_cluster_get -O NODEID_NODENAME north",
                     "scha_cluster_get -O NODESTATE_NODE north", "scha_cluster_get -O NODEID_NODENAME south",
                     "scha_cluster_get -O NODESTATE_NODE south"}));
    tools.ForgetCalls();
    cluster.GetVirtualIP("web");
    EXPECT_EQ(tools.Calls(),
              (Texts{"scha_resourcegroup_get -O RESOURCE_LIST -G web", "scha_resourcegroup_get -O RESOURCE_LIST -G web",
                     "scha_resource_get -O IS_LOGICAL_HOSTNAME -R web_disk",
                     "scha_resource_get -O IS_LOGICAL_HOSTNAME -R web_ip",
                     "scha_resource_get -O EXTENSION -R web_ip HostnameList"}))
        << "the list is asked for twice";
}

TEST_F(Sc, AsksForEachGroupItsStateHereItsNodesAndItsStateOnEach) {
    node.OfCluster("ALL_RESOURCEGROUPS", "web\n");
    const Cluster cluster;
    tools.ForgetCalls();
    cluster.GetGroups();
    const Texts calls = tools.Calls();
    ASSERT_EQ(calls.size(), 9u);
    EXPECT_EQ(calls[0], "scha_cluster_get -O ALL_RESOURCEGROUPS");
    EXPECT_EQ(calls[1], "scha_resourcegroup_get -O RG_STATE -G web");
    EXPECT_EQ(calls[2], "scha_resourcegroup_get -O NODELIST -G web");
    EXPECT_EQ(calls[7], "scha_resourcegroup_get -O RG_STATE_NODE -G web north");
    EXPECT_EQ(calls[8], "scha_resourcegroup_get -O RG_STATE_NODE -G web south");
}

TEST_F(Sc, TheWordsOfThisNodeAreTheStateOfTheCluster) {
    struct Case {
        const char* word;
        ClusterState state;
    };
    const Cluster cluster;
    for (const Case& row :
         {Case{"UNKNOWN", ClusterState::Unknown}, Case{"UP", ClusterState::Up}, Case{"DOWN", ClusterState::Down},
          Case{"", ClusterState::Unknown}, Case{"up", ClusterState::Unknown}, Case{"UP ", ClusterState::Unknown}}) {
        node.OfCluster("NODESTATE_LOCAL", std::string(row.word) + "\n");
        EXPECT_EQ(cluster.GetState(), row.state) << row.word;
    }
}

TEST_F(Sc, TheWordsOfNodesMeanStates) {
    struct Case {
        const char* word;
        NodeState state;
    };
    const Cluster cluster;
    for (const Case& row :
         {Case{"UNKNOWN", NodeState::Unknown}, Case{"UP", NodeState::Online}, Case{"DOWN", NodeState::Offline},
          Case{"", NodeState::Unknown}, Case{"DOWN (maybe)", NodeState::Unknown}}) {
        node.OfCluster("NODESTATE_NODE south", std::string(row.word) + "\n");
        EXPECT_EQ(cluster.GetNodes()["south"].GetState(), row.state) << row.word;
    }
}

TEST_F(Sc, TheWordsOfGroupsMeanStates) {
    struct Case {
        const char* word;
        RGState state;
    };
    for (const Case& row :
         {Case{"UNMANAGED", RGState::Unknown}, Case{"ONLINE", RGState::Online}, Case{"OFFLINE", RGState::Offline},
          Case{"PENDING_ONLINE", RGState::Unknown}, Case{"PENDING_OFFLINE", RGState::Unknown},
          Case{"ERROR_STOP_FAILED", RGState::Unknown}, Case{"", RGState::Unknown}, Case{"online", RGState::Unknown}}) {
        for (const char* name : {"north", "south"}) node.SetState("web", name, row.word);
        const ClusterResourceGroup group = Group("web");
        EXPECT_EQ(group.GetLocalState(), row.state) << row.word;
        EXPECT_EQ(group.GetState(), row.state) << row.word;
        EXPECT_EQ(group.GetActiveNode().GetName(), row.state == RGState::Online ? "north" : "") << row.word;
    }
}

TEST_F(Sc, AConfigurationMapsTheWordsOfGroups) {
    for (const char* name : {"north", "south"}) node.SetState("web", name, "PENDING_OFFLINE");
    Configure("conf.cluster.RGState.SC", "PENDING_OFFLINE", "online");
    EXPECT_EQ(Group("web").GetState(), RGState::Online);
    EXPECT_EQ(Group("web").GetLocalState(), RGState::Online);
    EXPECT_EQ(Group("web").GetActiveNode().GetName(), "north");
    for (const char* word : {"UNMANAGED", "ONLINE", "OFFLINE", "PENDING_ONLINE", "ERROR_STOP_FAILED", ""}) {
        node.SetState("web", "north", word);
        EXPECT_EQ(Group("web").GetLocalState(), RGState::Offline) << word << ": the table no longer counts";
    }
}

TEST_F(Sc, NodesHaveNameIdAndState) {
    node.OfCluster("NODESTATE_NODE east", "DOWN\n");
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east"}));
    EXPECT_EQ(nodes["SOUTH"].GetId(), 2);
    EXPECT_EQ(nodes["south"].GetState(), NodeState::Online);
    EXPECT_EQ(nodes["east"].GetState(), NodeState::Offline);
}

TEST_F(Sc, ANodeThatCannotBeReadIsLeftOutAndTheOthersStand) {
    const Cluster cluster;
    for (const char* number : {"none\n", "\n", "-1\n", "65535\n", "70000\n", ""}) {
        node.OfCluster("NODEID_NODENAME south", number);
        EXPECT_EQ(Names(cluster.GetNodes()), (Texts{"north", "east"})) << number;
    }
    node.AddNode("south", "2");
    node.OfCluster("NODESTATE_NODE north", "UP\n", 1);
    EXPECT_EQ(Names(cluster.GetNodes()), (Texts{"south", "east"}));
    EXPECT_FALSE(log.Holds("Could not determine the node ID or state.")) << "the list of a group alone tells that";
}

TEST_F(Sc, ANodeOfAGroupThatCannotBeReadIsLeftOutWithAWarning) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"north", "south", "east"}));
    EXPECT_FALSE(log.Holds("Could not determine the node ID or state."));
    node.OfCluster("NODEID_NODENAME south", "2\n", 1);
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"north", "east"}));
    EXPECT_TRUE(log.Holds("WARNING Could not determine the node ID or state."));
}

TEST_F(Sc, AHostileNameRunsNoToolAndIsLeftOut) {
    node.OfCluster("ALL_NODENAMES", "north\n-O\na\"b\n\n");
    const Cluster cluster;
    tools.ForgetCalls();
    EXPECT_EQ(Names(cluster.GetNodes()), Texts{"north"});
    EXPECT_EQ(tools.Calls().size(), 4u) << "the list, two for north, and one for the empty name";
}

TEST_F(Sc, WhatOtherToolsOfTheProductPrintNamesNoNode) {
    const Cluster cluster;
    for (const char* name : {"scstat", "clrt-list"}) {
        node.OfCluster("ALL_NODENAMES", ReadText(std::string(LUM_TEST_DATA "/recorded/sc/") + name + ".txt"));
        EXPECT_EQ(cluster.GetNodes().Count(), 0) << name;
    }
}

TEST_F(Sc, AnEmptyLineCountsAsAnIdAndIsNoGroup) {
    node.OfCluster("ALL_RESOURCEGROUPS", "\nweb\n\n\ndb\n");
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups["web"].GetId(), 1);
    EXPECT_EQ(groups["db"].GetId(), 4);
    node.OfCluster("ALL_RESOURCEGROUPS", "");
    EXPECT_EQ(Cluster().GetGroups().Count(), 0);
}

TEST_F(Sc, AGroupOnlineOnItsSecondNodeHasItAndTheThirdIsNotAsked) {
    node.SetState("db", "south", "ONLINE");
    node.SetState("db", "east", "ONLINE");
    const ClusterResourceGroup group = Group("db");
    EXPECT_EQ(group.GetId(), 1);
    EXPECT_EQ(group.GetState(), RGState::Online);
    EXPECT_EQ(group.GetLocalState(), RGState::Offline);
    EXPECT_EQ(group.GetActiveNode().GetName(), "south");
    EXPECT_EQ(group.GetActiveNode().GetId(), 2);
    EXPECT_TRUE(CallsOf("scha_resourcegroup_get -O RG_STATE_NODE -G db east").empty());
}

TEST_F(Sc, AGroupOfflineEverywhereHasTheStateOfItsLastNode) {
    node.SetState("db", "north", "UNMANAGED");
    EXPECT_EQ(Group("db").GetState(), RGState::Offline);
    node.SetState("db", "east", "ERROR_STOP_FAILED");
    EXPECT_EQ(Group("db").GetState(), RGState::Unknown);
    EXPECT_EQ(Group("db").GetActiveNode().GetName(), "");
    node.OfGroup("RG_STATE_NODE", "db east", "OFFLINE\n", 1);
    EXPECT_EQ(Group("db").GetState(), RGState::Unknown) << "the last one does not answer";
    node.SetState("db", "east", "OFFLINE");
    node.OfGroup("RG_STATE_NODE", "db south", "", 1);
    EXPECT_EQ(Group("db").GetState(), RGState::Offline) << "the next one is asked";
}

TEST_F(Sc, AGroupOfWhichNothingCanBeHadStays) {
    node.OfGroup("RG_STATE", "web", "ONLINE\n", 1);
    node.OfGroup("NODELIST", "web", "", 1);
    const ClusterResourceGroup group = Group("web");
    EXPECT_EQ(group.GetState(), RGState::Unknown);
    EXPECT_EQ(group.GetLocalState(), RGState::Unknown);
    EXPECT_EQ(group.GetActiveNode().GetName(), "");
}

TEST_F(Sc, TheAddressIsTheSecondLineOfTheFirstHostName) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.7");
    EXPECT_EQ(cluster.GetVirtualIP("db"), "");
    node.SetHostNames("web_ip", "STRINGARRAY\nfirst\nsecond\nthird\n");
    EXPECT_EQ(cluster.GetVirtualIP("web"), "first");
    for (const char* output : {"", "STRINGARRAY\n", "STRINGARRAY\n\n"}) {
        node.SetHostNames("web_ip", output);
        EXPECT_EQ(cluster.GetVirtualIP("web"), "") << output;
    }
    for (const char* word : {"true", "TRUE ", "", "FALSE"}) {
        node.OfResource("web_ip", "IS_LOGICAL_HOSTNAME", std::string(word) + "\n");
        EXPECT_EQ(cluster.GetVirtualIP("web"), "") << word;
    }
}

TEST_F(Sc, AResourceThatCannotBeAskedIsPassedOver) {
    const Cluster cluster;
    node.OfResource("web_disk", "IS_LOGICAL_HOSTNAME", "TRUE\n", 1);
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.7");
    node.OfResource("web_ip", "IS_LOGICAL_HOSTNAME", "TRUE\n", 1);
    EXPECT_EQ(cluster.GetVirtualIP("web"), "");
    EXPECT_RAISES(cluster.GetVirtualIP("nothing"), ClusterException, 335);
    node.OfResource("web_ip", "IS_LOGICAL_HOSTNAME", "TRUE\n");
    node.SetHostNames("web_ip", "", 1);
    EXPECT_RAISES(cluster.GetVirtualIP("web"), ClusterException, 335);
}

TEST_F(Sc, WhatIsLostAsAWholeIsAnErrorWithItsReason) {
    const Cluster cluster;
    struct Case {
        const char* tag;
        void (*ask)(const Cluster&);
        unsigned number;
        const char* text;
    };
    for (const Case& row :
         {Case{"NODESTATE_LOCAL", [](const Cluster& c) { c.GetState(); }, 236,
               "Can not get the state of the local node."},
          Case{"ALL_NODENAMES", [](const Cluster& c) { c.GetNodes(); }, 314, "Can not get node list for Sun Cluster."},
          Case{"ALL_RESOURCEGROUPS", [](const Cluster& c) { c.GetGroups(); }, 323,
               "Can not get group list for Sun Cluster."}}) {
        node.OfCluster(row.tag, "UP\n", 1);
        const auto messages = MessagesOf<ClusterException>([&] { row.ask(cluster); });
        EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{row.number, 335, 334, 0}));
        EXPECT_EQ(String_t(messages), row.text);
    }
    node.OfGroup("NODELIST", "web", "", 1);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("web"); });
    EXPECT_EQ(Numbers(messages)[0], 327u);
    EXPECT_EQ(String_t(messages), "Can not get node list for resource group 'web'.");
    EXPECT_RAISES(cluster.GetGroupNodes("-x"), ClusterException, 327);
}

TEST_F(Sc, CannotBeMadeWithoutItsName) {
    node.OfCluster("CLUSTERNAME", "harbour\n", 1);
    const auto messages = MessagesOf<ClusterException>([] { Cluster(); });
    EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{310, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not instantiate Sun Cluster object.");
}

TEST_F(Sc, ToolsRunBehindWhatTheEnvironmentSays) {
    setenv("LUM_SUDO", "/usr/bin/env LUM_SEEN=1", 1);
    EXPECT_EQ(Cluster().GetName(), "harbour");
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 310);
    unsetenv("LUM_SUDO");
}

TEST_F(Sc, EachToolThatFailsCostsAnItemOrIsAnError) {
    node.OfCluster("ALL_NODENAMES", "north\n");
    node.OfCluster("ALL_RESOURCEGROUPS", "web\n");
    // Cluster, state, two lists, the resources twice, the address, the groups are errors; the other tools cost an item.
    std::vector<unsigned> errors = ErrorsOfEachTool(tools, [] { EXPECT_EQ(AskAll(), 1); });
    std::erase(errors, 0u);
    EXPECT_EQ(errors, (std::vector<unsigned>{310, 236, 314, 327, 335, 335, 335, 323}));
}

}  // namespace
