#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ClusterSeen.h"
#include "Configure.h"
#include "EachToolFails.h"
#include "Exceptions.h"
#include "HacmpNode.h"
#include "LumConfCluster/Cluster.h"
#include "Raised.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;

class Hacmp : public testing::Test {
protected:
    ClusterResourceGroup GroupOf(const std::string& output) {
        node.SetGroups(output);
        return Cluster().GetGroups()[0];
    }

    HacmpNode node;
    ToolScripts& tools = node.tools;
    CapturedLog log{node.root.Native()};
};

TEST_F(Hacmp, RunsTheToolsInTheirOrderWithTheirWords) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetType(), ClusterType::Hacmp);
    EXPECT_EQ(cluster.GetName(), "harbour");
    cluster.GetState();
    cluster.GetNodes();
    EXPECT_EQ(tools.Calls(), (Texts{"clstat -o", "clstat -o", "clstat -o"}));
    tools.ForgetCalls();
    cluster.GetGroupNodes("web");
    EXPECT_EQ(tools.Calls(), (Texts{"clstat -o", "clRGinfo -s"}));
    tools.ForgetCalls();
    cluster.GetVirtualIP("web");
    EXPECT_EQ(tools.Calls(), Texts{"clgetip web"});
    tools.ForgetCalls();
    node.SetGroups("a:ONLINE:north\nb:ONLINE:south\nb:ONLINE:east\n");
    cluster.GetGroups();
    EXPECT_EQ(tools.Calls(), (Texts{"clRGinfo -s", "clstat -o"})) << "the nodes are asked for once";
    tools.ForgetCalls();
    node.SetGroups("a:OFFLINE:nobody\n");
    cluster.GetGroups();
    EXPECT_EQ(tools.Calls(), Texts{"clRGinfo -s"}) << "nobody's node is wanted";
}

TEST_F(Hacmp, TheNameStandsBeforeTheNumberInBrackets) {
    struct Case {
        const char* output;
        const char* name;
    };
    for (const Case& row :
         {Case{"Cluster: harbour (123)\n", "harbour"}, Case{"  Cluster: two words\t(1) (2)\n", "two words"},
          Case{"x\nCluster: a\nCluster: b (1)\n", "a"}, Case{"Cluster:\tharbour (123)\n", ""},
          Case{"cluster: harbour\n", ""}, Case{"", ""}, Case{"Cluster: (1)\n", ""}}) {
        node.SetStatus(row.output);
        EXPECT_EQ(Cluster().GetName(), row.name) << row.output;
    }
}

TEST_F(Hacmp, TheStateStandsInTheFirstLineThatTellsOne) {
    struct Case {
        const char* output;
        ClusterState state;
    };
    const Cluster cluster;
    for (const Case& row :
         {Case{"State: UP  Nodes: 3\n", ClusterState::Up},
          Case{"\tState: DOWN\t\tNodes: 3\nState: UP\n", ClusterState::Down},
          Case{"State: unknown Nodes: 3\n", ClusterState::Unknown}, Case{"State: UP\n", ClusterState::Up},
          Case{"State:  Nodes: 3\n", ClusterState::Unknown}, Case{"State: up Nodes: 3\n", ClusterState::Unknown},
          Case{"State: UNSTABLE Nodes: 3\n", ClusterState::Unknown}, Case{"Nodes: 3 State: UP\n", ClusterState::Up},
          Case{"", ClusterState::Unknown}, Case{"State:\tUP Nodes: 3\n", ClusterState::Unknown},
          Case{"SubState: UP\nState: DOWN Nodes: 1\n", ClusterState::Up}}) {
        node.SetStatus(row.output);
        EXPECT_EQ(cluster.GetState(), row.state) << row.output;
    }
}

TEST_F(Hacmp, NodesStandInLinesWithTheirStateAndAreCountedFromZero) {
    node.SetStatus(
        "Cluster: c (1)\nState: UP Nodes: 3\n\tNode: a  \tState: UP\nInterface: a (0) Address: 1.2.3.4\n"
        "State: UP\n Node: two words State: DOWN  \nResource Group: web State: online\nNode: c State: \n"
        "Node: d State:\tUP\nNode: e State: LEFT\n Node: f State: UP State: DOWN\n");
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"a", "two words", "e", "f"})) << "a trimmed line does not end in a blank";
    EXPECT_EQ(nodes["two words"].GetId(), 1);
    EXPECT_EQ(nodes["a"].GetState(), NodeState::Online);
    EXPECT_EQ(nodes["two words"].GetState(), NodeState::Offline);
    EXPECT_EQ(nodes["e"].GetState(), NodeState::Unknown);
    EXPECT_EQ(nodes["f"].GetState(), NodeState::Unknown);
    node.SetStatus("");
    EXPECT_EQ(Cluster().GetNodes().Count(), 0);
}

TEST_F(Hacmp, TheWordsOfGroupsMeanStates) {
    struct Case {
        const char* word;
        RGState state;
    };
    for (const Case& row :
         {Case{"ONLINE", RGState::Online}, Case{"OFFLINE", RGState::Offline}, Case{"ACQUIRING", RGState::Offline},
          Case{"RELEASING", RGState::Offline}, Case{"ERROR", RGState::Unknown}, Case{"UNKNOWN", RGState::Unknown},
          Case{"", RGState::Unknown}, Case{"online", RGState::Unknown}, Case{"ONLINE ", RGState::Unknown},
          Case{"ONLINE SECONDARY", RGState::Unknown}, Case{"OFFLINE due to fallover", RGState::Unknown},
          Case{"UNMANAGED", RGState::Unknown}, Case{"TEMPORARY ERROR", RGState::Unknown}}) {
        const ClusterResourceGroup group = GroupOf(std::string("web:") + row.word + ":north:x\n");
        EXPECT_EQ(group.GetState(), row.state) << row.word;
        EXPECT_EQ(group.GetLocalState(), row.state) << row.word;
        EXPECT_EQ(group.GetActiveNode().GetName(), row.state == RGState::Online ? "north" : "") << row.word;
    }
}

TEST_F(Hacmp, AConfigurationMapsTheWordsOfGroups) {
    Configure("conf.cluster.RGState.HACMP", "ACQUIRING", "Online");
    Configure("conf.cluster.RGState.HACMP", "RELEASING", "UNKNOWN");
    EXPECT_EQ(GroupOf("web:ACQUIRING:south\n").GetState(), RGState::Online);
    EXPECT_EQ(GroupOf("web:ACQUIRING:south\n").GetActiveNode().GetName(), "south");
    EXPECT_EQ(GroupOf("web:RELEASING:south\n").GetState(), RGState::Unknown);
    for (const char* word : {"ONLINE", "OFFLINE", "ERROR", "UNKNOWN", ""}) {
        EXPECT_EQ(GroupOf("web:" + std::string(word) + ":south\n").GetState(), RGState::Offline) << word;
    }
}

TEST_F(Hacmp, AGroupIsOnlineWhenAnyNodeReportsIt) {
    for (const char* output : {"web:OFFLINE:north\nweb:ONLINE:south\n", "web:ONLINE:south\nweb:OFFLINE:north\n",
                               "web:ERROR:north\nweb:ONLINE:SOUTH\nweb:ERROR:east\n"}) {
        const ClusterResourceGroup group = GroupOf(output);
        EXPECT_EQ(group.GetState(), RGState::Online) << output;
        EXPECT_EQ(group.GetActiveNode().GetName(), "south") << output;
        EXPECT_NE(group.GetLocalState(), RGState::Online) << output;
    }
    const ClusterResourceGroup twice = GroupOf("web:ONLINE:north\nweb:ONLINE:east\nweb:OFFLINE:south\n");
    EXPECT_EQ(twice.GetActiveNode().GetName(), "east") << "the last one wins";
    EXPECT_EQ(twice.GetLocalState(), RGState::Online);
}

TEST_F(Hacmp, AStateIsTakenOverOnlyByOneThatIsKnown) {
    EXPECT_EQ(GroupOf("web:ERROR:north\nweb:OFFLINE:south\n").GetState(), RGState::Offline);
    EXPECT_EQ(GroupOf("web:OFFLINE:north\nweb:ERROR:south\n").GetState(), RGState::Offline);
    EXPECT_EQ(GroupOf("web:ERROR:north\nweb:UNKNOWN:south\n").GetState(), RGState::Unknown);
    EXPECT_EQ(GroupOf("web:ONLINE:north\nweb:OFFLINE:south\n").GetState(), RGState::Online);
}

TEST_F(Hacmp, LinesOfAGroupStandBehindEachOther) {
    node.SetGroups(" web :OFFLINE:north\nweb:ONLINE:south\ndb:OFFLINE:north\nweb:OFFLINE:east\n");
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db", "web"})) << "the same name behind another one is a new group";
    for (int i = 0; i < 3; ++i) EXPECT_EQ(groups[i].GetId(), i);
    EXPECT_EQ(groups[0].GetState(), RGState::Online);
    EXPECT_EQ(groups[2].GetState(), RGState::Offline);
}

TEST_F(Hacmp, NoOutputIsOneGroupWithoutAName) {
    const ClusterResourceGroup group = GroupOf("");
    EXPECT_EQ(group.GetName(), "");
    EXPECT_EQ(group.GetId(), 0);
    EXPECT_EQ(group.GetState(), RGState::Unknown);
    node.SetGroups("\n");
    EXPECT_EQ(Names(Cluster().GetGroups()), Texts{""});
    node.SetGroups("Status of the RSCT subsystems used by HACMP:\nweb:ONLINE:north\n");
    EXPECT_EQ(Names(Cluster().GetGroups()), (Texts{"Status of the RSCT subsystems used by HACMP", "web"}))
        << "what is no data is taken as it stands";
}

TEST_F(Hacmp, TheRecordedGroupsAreOnlineOnTheNodesThatSaySo) {
    node.SetStatus("Node: pasv0449 State: UP\nNode: pasv0450 State: UP\n");
    node.SetGroups(ReadText(LUM_TEST_DATA "/recorded/hacmp/clRGinfo-s.txt"));
    const Cluster cluster;
    const ClusterResourceGroups groups = cluster.GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"pdb213rg", "pmon01rg"}));
    EXPECT_EQ(groups[0].GetState(), RGState::Online);
    EXPECT_EQ(groups[0].GetActiveNode().GetName(), "pasv0450");
    EXPECT_EQ(groups[1].GetActiveNode().GetName(), "pasv0449");
    EXPECT_EQ(Names(cluster.GetGroupNodes("pmon01rg")), (Texts{"pasv0449", "pasv0450"}));
}

TEST_F(Hacmp, AGroupOnANodeThatIsNotThereIsAnError) {
    node.SetGroups("web:ONLINE:nowhere\n");
    const auto messages = MessagesOf<ClusterException>([] { Cluster().GetGroups(); });
    EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{685, 0}));
    node.SetGroups("web:OFFLINE:nowhere\n");
    EXPECT_EQ(Cluster().GetGroups().Count(), 1);
    EXPECT_RAISES(Cluster().GetGroupNodes("web"), ClusterException, 686);
}

TEST_F(Hacmp, TheNodesOfAGroupAreThoseOfItsLines) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"north", "south"}));
    EXPECT_EQ(cluster.GetGroupNodes("web")[1].GetState(), NodeState::Online);
    EXPECT_EQ(cluster.GetGroupNodes("nothing").Count(), 0);
    EXPECT_EQ(cluster.GetGroupNodes("WEB").Count(), 0);
    node.SetGroups("\t web :x:EAST\ndb:x:north\nweb:x:south:more\nweb:x:north\n");
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"east", "south", "north"}));
    node.SetGroups("web:x: north\n");
    // Only the first field is trimmed.
    EXPECT_RAISES(cluster.GetGroupNodes("web"), ClusterException, 686);
    node.SetGroups("web\n");
    EXPECT_RAISES(cluster.GetGroupNodes("web"), ClusterException, 686);
}

TEST_F(Hacmp, AnAddressThatCannotBeHadIsEmpty) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.7");
    EXPECT_EQ(cluster.GetVirtualIP("db"), "");
    EXPECT_EQ(cluster.GetVirtualIP("-x"), "");
    tools.Answer("clgetip web", "10.0.0.7\n", 1);
    EXPECT_EQ(cluster.GetVirtualIP("web"), "");
}

TEST_F(Hacmp, WhatIsLostAsAWholeIsAnErrorWithItsReason) {
    const Cluster cluster;
    node.SetStatus("", 1);
    node.SetGroups("", 1);
    struct Case {
        void (*ask)(const Cluster&);
        unsigned number;
        const char* text;
    };
    for (const Case& row :
         {Case{[](const Cluster& c) { c.GetState(); }, 236, "Can not get the state of the local node."},
          Case{[](const Cluster& c) { c.GetNodes(); }, 684, "Can not get node list for Hacmp."},
          Case{[](const Cluster& c) { c.GetGroups(); }, 685, "Can not get group list for Hacmp"}}) {
        const auto messages = MessagesOf<ClusterException>([&] { row.ask(cluster); });
        EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{row.number, 335, 334, 0}));
        EXPECT_EQ(String_t(messages), row.text);
    }
    EXPECT_TRUE(log.Holds("ERROR Can not get the state of the local node."));
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("web"); });
    EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{686, 684, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not get node list for group 'web' for Hacmp");
}

TEST_F(Hacmp, WithoutClstatThereIsNoClusterAndTheNodesNameWasAskedForBefore) {
    std::filesystem::remove("/usr/es/sbin/cluster/clstat");
    const auto missing = MessagesOf<ClusterException>([] { Cluster(); });
    EXPECT_EQ(Numbers(missing), (std::vector<unsigned>{683, 0}));
    EXPECT_EQ(String_t(missing), "Can not instantiate HACMP cluster object.");
    EXPECT_EQ(missing.GetMessage(0).GetDetails().GetMessage(0).GetMessageText(),
              "Cluster CLI  /usr/es/sbin/cluster/clstat not found.");
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    WriteText("/usr/bin/uname", "#!/bin/sh\nexit 3\n");
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([] { Cluster(); })), (std::vector<unsigned>{683, 335, 0}));
}

TEST_F(Hacmp, CannotBeMadeWhenClstatFails) {
    node.SetStatus("Cluster: harbour (1)\n", 1);
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([] { Cluster(); })), (std::vector<unsigned>{683, 335, 334, 0}));
}

TEST_F(Hacmp, ToolsRunBehindWhatTheEnvironmentSays) {
    setenv("LUM_SUDO", "/usr/bin/env LUM_SEEN=1", 1);
    EXPECT_EQ(Cluster().GetName(), "harbour");
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 683);
    unsetenv("LUM_SUDO");
}

TEST_F(Hacmp, EachToolThatFailsIsAnErrorButTheAddress) {
    EXPECT_EQ(AskAll(), 2);
    EXPECT_EQ(ErrorsOfEachTool(tools, AskAll), (std::vector<unsigned>{683, 236, 684, 686, 686, 0, 685, 685}));
}

}  // namespace
