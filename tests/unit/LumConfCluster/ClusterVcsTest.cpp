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
#include "TraceLines.h"
#include "VcsNode.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;

class Vcs : public testing::Test {
protected:
    ClusterResourceGroup Group(const char* name) { return Cluster().GetGroups()[name]; }

    VcsNode node;
    ToolScripts& tools = node.tools;
    CapturedLog log{node.root.Native()};
};

TEST_F(Vcs, RunsTheToolsInTheirOrderWithTheirWords) {
    const Cluster cluster;
    EXPECT_EQ(tools.Calls(), Texts{"haclus -value ClusterName"});
    tools.ForgetCalls();
    cluster.GetState();
    EXPECT_EQ(tools.Calls(), Texts{"hasys -state north"});
    tools.ForgetCalls();
    cluster.GetNodes();
    const Texts nodes{
        "hasys -list",        "hasys -value north NodeId", "hasys -state north", "hasys -value south NodeId",
        "hasys -state south", "hasys -value east NodeId",  "hasys -state east"};
    EXPECT_EQ(tools.Calls(), nodes);
    tools.ForgetCalls();
    cluster.GetGroupNodes("web");
    Texts systems = nodes;
    for (const char* call : {"hagrp -value web SystemList", "hasys -value north NodeId", "hasys -value south NodeId"})
        systems.push_back(call);
    EXPECT_EQ(tools.Calls(), systems);
    tools.ForgetCalls();
    cluster.GetVirtualIP("web");
    EXPECT_EQ(
        tools.Calls(),
        (Texts{"hagrp -resources web", "hagrp -resources web", "hares -display web_disk -attribute Address -type IP",
               "hares -display web_ip -attribute Address -type IP", "hares -value web_ip Address"}))
        << "the list is asked for twice";
}

TEST_F(Vcs, AsksForEachGroupItsStateHereItsSystemsAndItsStateThere) {
    const Cluster cluster;
    tools.Answer("hagrp -display -attribute SystemList", "#Group\nweb SystemList\n");
    tools.ForgetCalls();
    cluster.GetGroups();
    Texts calls = tools.Calls();
    ASSERT_EQ(calls.size(), 14u);
    EXPECT_EQ(calls[0], "hagrp -display -attribute SystemList");
    EXPECT_EQ(calls[1], "hagrp -state web -sys north");
    EXPECT_EQ(calls[2], "hasys -list");
    EXPECT_EQ(calls[9], "hagrp -value web SystemList");
    EXPECT_EQ(calls[12], "hagrp -state web -sys north");
    EXPECT_EQ(calls[13], "hagrp -state web -sys south");
}

TEST_F(Vcs, TheStateIsThatOfThisSystem) {
    struct Case {
        const char* word;
        ClusterState state;
    };
    const Cluster cluster;
    for (const Case& row : {Case{"UNKNOWN", ClusterState::Unknown}, Case{"RUNNING", ClusterState::Up},
                            Case{"NOT_RUNNING", ClusterState::Down}, Case{"", ClusterState::Unknown},
                            Case{"EXITED", ClusterState::Unknown}, Case{"running", ClusterState::Unknown},
                            Case{" RUNNING", ClusterState::Unknown}, Case{"RUNNING ", ClusterState::Unknown}}) {
        tools.Answer("hasys -state north", std::string(row.word) + "\n");
        EXPECT_EQ(cluster.GetState(), row.state) << row.word;
    }
}

TEST_F(Vcs, AStateThatCannotBeHadIsAnError) {
    const Cluster cluster;
    tools.Answer("hasys -state north", "RUNNING\n", 1);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetState(); });
    EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{236, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not get the state of the local node.");
    EXPECT_TRUE(log.Holds("ERROR Can not get the state of the local node."));
}

TEST_F(Vcs, NodesHaveNameIdAndState) {
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east"}));
    EXPECT_EQ(nodes[0].GetId(), 10);
    EXPECT_EQ(nodes["SOUTH"].GetId(), 11);
    EXPECT_EQ(nodes[2].GetState(), NodeState::Online);
    EXPECT_EQ(nodes[2].GetType(), NodeType::Default);
}

TEST_F(Vcs, TheWordsOfNodesMeanStates) {
    struct Case {
        const char* word;
        NodeState state;
    };
    const Cluster cluster;
    for (const Case& row :
         {Case{"UNKNOWN", NodeState::Unknown}, Case{"RUNNING", NodeState::Online},
          Case{"NOT_RUNNING", NodeState::Offline}, Case{"EXITED", NodeState::Offline}, Case{"", NodeState::Offline},
          Case{"LEAVING", NodeState::Unknown}, Case{"exited", NodeState::Unknown}}) {
        tools.Answer("hasys -state south", std::string(row.word) + "\n");
        EXPECT_EQ(cluster.GetNodes()["south"].GetState(), row.state) << row.word;
    }
}

TEST_F(Vcs, ANodeWhoseIdOrStateCannotBeHadStays) {
    tools.Answer("hasys -value south NodeId", "11\n", 1);
    tools.Answer("hasys -state east", "RUNNING\n", 1);
    tools.Answer("hasys -value east NodeId", "");
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east"}));
    EXPECT_EQ(nodes["south"].GetId(), 65535);
    EXPECT_EQ(nodes["south"].GetState(), NodeState::Online);
    EXPECT_EQ(nodes["east"].GetId(), 65535);
    EXPECT_EQ(nodes["east"].GetState(), NodeState::Unknown);
    tools.Answer("hasys -value south NodeId", "none\n");
    EXPECT_EQ(Cluster().GetNodes()["south"].GetId(), 65535) << "no number";
}

TEST_F(Vcs, ANodeOfAGlobalClusterStandsBehindTheColon) {
    tools.Answer("hasys -list", "site1:north\nsite2: south \nfar:away:east\n two words \n");
    node.AddSystem("away:east", "4");
    node.AddSystem(" two words ", "5");
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "away:east", " two words "}));
    EXPECT_EQ(nodes[1].GetId(), 11);
    EXPECT_EQ(nodes[2].GetId(), 4);
    EXPECT_EQ(nodes[3].GetId(), 5) << "without a colon the name is the whole line";
}

TEST_F(Vcs, AHostileNodeRunsNoToolAndStays) {
    tools.Answer("hasys -list", "north\n-force\na\"b\n");
    const Cluster cluster;
    tools.ForgetCalls();
    const ClusterNodes nodes = cluster.GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "-force", "a\"b"}));
    EXPECT_EQ(nodes[1].GetId(), 65535);
    EXPECT_EQ(nodes[1].GetState(), NodeState::Unknown);
    EXPECT_EQ(tools.Calls().size(), 3u) << "the list, and two for north";
}

TEST_F(Vcs, WithoutTheListOfNodesThereIsAnError) {
    const Cluster cluster;
    tools.Answer("hasys -list", "north\n", 2);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetNodes(); });
    EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{338, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not get node list for VERITAS Cluster Server.");
    EXPECT_TRUE(log.Holds("ERROR Can not get node list for VERITAS Cluster Server."));
    tools.Answer("hasys -list", "");
    EXPECT_EQ(cluster.GetNodes().Count(), 0);
}

TEST_F(Vcs, GroupsHaveNameIdStatesAndActiveNode) {
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups[0].GetId(), 1);
    EXPECT_EQ(groups[1].GetId(), 2);
    EXPECT_EQ(groups["web"].GetLocalState(), RGState::Offline);
    EXPECT_EQ(groups["web"].GetState(), RGState::Online) << "though the first system says otherwise";
    EXPECT_EQ(groups["web"].GetActiveNode().GetName(), "south");
    EXPECT_EQ(groups["web"].GetActiveNode().GetId(), 11);
    EXPECT_EQ(groups["db"].GetState(), RGState::Offline);
    EXPECT_EQ(groups["db"].GetActiveNode().GetName(), "");
}

TEST_F(Vcs, TheWordsOfGroupsMeanStates) {
    struct Case {
        const char* word;
        RGState state;
    };
    for (const Case& row :
         {Case{"|PARTIAL|", RGState::Unknown}, Case{"|UNKNOWN|", RGState::Unknown}, Case{"|ONLINE|", RGState::Online},
          Case{"|OFFLINE|", RGState::Offline}, Case{"ONLINE", RGState::Online}, Case{"OFFLINE", RGState::Offline},
          Case{"", RGState::Unknown}, Case{"|OFFLINE|FAULTED|", RGState::Unknown}, Case{"PARTIAL", RGState::Unknown},
          Case{"|online|", RGState::Unknown}, Case{"|ONLINE| ", RGState::Unknown}}) {
        for (const char* system : {"north", "south"}) node.SetState("web", system, row.word);
        const ClusterResourceGroup group = Group("web");
        EXPECT_EQ(group.GetLocalState(), row.state) << row.word;
        EXPECT_EQ(group.GetState(), row.state) << row.word;
        EXPECT_EQ(group.GetActiveNode().GetName(), row.state == RGState::Online ? "north" : "") << row.word;
    }
}

TEST_F(Vcs, AConfigurationMapsTheWordsOfGroups) {
    for (const char* system : {"north", "south"}) node.SetState("web", system, "|PARTIAL|");
    EXPECT_EQ(Group("web").GetState(), RGState::Unknown);
    Configure("conf.cluster.RGState.VCS", "_PARTIAL_", "ONLINE");
    const ClusterResourceGroup group = Group("web");
    EXPECT_EQ(group.GetState(), RGState::Online);
    EXPECT_EQ(group.GetLocalState(), RGState::Online);
    EXPECT_EQ(group.GetActiveNode().GetName(), "north");
    node.SetState("web", "north", "|ONLINE|");
    EXPECT_EQ(Group("web").GetLocalState(), RGState::Offline) << "the table no longer counts";
}

TEST_F(Vcs, AGroupWithoutALocalStateHasAWarningAndItsGlobalState) {
    tools.Answer("hagrp -state web -sys north", "|OFFLINE|\n", 1);
    tools.Answer("hagrp -state web -sys south", "|ONLINE|\n", 1);
    const TraceLines traced;
    const ClusterResourceGroup group = Group("web");
    EXPECT_TRUE(traced.Contains("Local state of group 'web' is unknown."));
    EXPECT_FALSE(log.Holds("Local state of group"));
    EXPECT_EQ(group.GetLocalState(), RGState::Unknown);
    EXPECT_EQ(group.GetState(), RGState::Online) << "the global one, since no system answers";
    EXPECT_EQ(group.GetActiveNode().GetName(), "") << "no system said that it is on line there";
    Configure("conf.cluster", "MONITOR_MODE", "true");
    Group("web");
    EXPECT_TRUE(log.Holds("WARNING Local state of group 'web' is unknown."));
}

TEST_F(Vcs, TheLastSystemThatAnswersOverwritesTheGlobalState) {
    tools.Answer("hagrp -state web -sys north", "", 1);
    node.SetState("web", "south", "|OFFLINE|");
    EXPECT_EQ(Group("web").GetState(), RGState::Offline);
    node.SetState("web", "south", "|STARTING|");
    EXPECT_EQ(Group("web").GetState(), RGState::Unknown);
}

TEST_F(Vcs, TheLastSystemThatAnswersHasTheLastWord) {
    node.SetState("db", "north", "|OFFLINE|");
    node.SetState("db", "south", "|PARTIAL|");
    tools.Answer("hagrp -state db -sys east", "|OFFLINE|\n", 1);
    EXPECT_EQ(Group("db").GetState(), RGState::Unknown) << "that of south";
    node.SetState("db", "east", "|OFFLINE|");
    EXPECT_EQ(Group("db").GetState(), RGState::Offline);
}

TEST_F(Vcs, TheFirstSystemThatIsOnlineEndsTheSearch) {
    node.SetState("db", "south", "|ONLINE|");
    node.SetState("db", "east", "|ONLINE|");
    const Cluster cluster;
    tools.ForgetCalls();
    EXPECT_EQ(cluster.GetGroups()["db"].GetActiveNode().GetName(), "south");
    EXPECT_EQ(tools.Count("hagrp -state db -sys east"), 0u);
}

TEST_F(Vcs, AGroupOfWhichNothingCanBeHadStays) {
    for (const char* call : {"hagrp -state web -sys north", "hagrp -state web -sys south", "hagrp -value web State",
                             "hagrp -value web SystemList"})
        tools.Answer(call, "", 1);
    const TraceLines traced;
    const ClusterResourceGroup group = Group("web");
    EXPECT_EQ(group.GetState(), RGState::Unknown);
    EXPECT_EQ(group.GetLocalState(), RGState::Unknown);
    EXPECT_EQ(group.GetActiveNode().GetName(), "");
    EXPECT_TRUE(traced.Contains("Local state of group 'web' is unknown."));
}

TEST_F(Vcs, AGroupWithoutSystemsKeepsItsLocalState) {
    tools.Answer("hagrp -value web SystemList", "", 1);
    node.SetState("web", "north", "|ONLINE|");
    const ClusterResourceGroup group = Group("web");
    EXPECT_EQ(group.GetLocalState(), RGState::Online);
    EXPECT_EQ(group.GetState(), RGState::Unknown);
    EXPECT_EQ(group.GetActiveNode().GetName(), "");
}

TEST_F(Vcs, LinesBetweenTablesAreNoGroups) {
    tools.Answer("hagrp -display -attribute SystemList", "#Group  Attribute\nweb\tSystemList\n#\n\ndb\n");
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups[1].GetId(), 2);
}

TEST_F(Vcs, NoGroupIsNoError) {
    for (const char* output : {"", "#Group  Attribute\n"}) {
        tools.Answer("hagrp -display -attribute SystemList", output);
        EXPECT_EQ(Cluster().GetGroups().Count(), 0);
    }
}

TEST_F(Vcs, WithoutTheListOfGroupsThereIsAnError) {
    const Cluster cluster;
    tools.Answer("hagrp -display -attribute SystemList", "#Group\n", 1);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroups(); });
    EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{345, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not get group list for VERITAS Cluster Server.");
    EXPECT_TRUE(log.Holds("ERROR Can not get group list for VERITAS Cluster Server."));
}

TEST_F(Vcs, TheNodesOfAGroupStandInItsListAndAnswer) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"north", "south", "east"}));
    tools.Answer("hagrp -value db SystemList", "east 0\tnobody 1 SOUTH 2\tnorth\n");
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"east"})) << "nobody and SOUTH have no id, north no priority";
    tools.Answer("hasys -value SOUTH NodeId", "11\n");
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"east", "south"}));
    tools.Answer("hasys -value nobody NodeId", "13\n");
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"east", "south"})) << "no node of the cluster";
    tools.Answer("hasys -value east NodeId", "", 1);
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"south"}));
    tools.Answer("hagrp -value db SystemList", "\n");
    EXPECT_EQ(cluster.GetGroupNodes("db").Count(), 0);
}

TEST_F(Vcs, TheNodesOfAGroupThatCannotBeHadAreAnError) {
    const Cluster cluster;
    EXPECT_RAISES(cluster.GetGroupNodes("nothing"), ClusterException, 335);
    EXPECT_RAISES(cluster.GetGroupNodes("-x"), ClusterException, 335);
    tools.Answer("hasys -list", "", 1);
    EXPECT_RAISES(cluster.GetGroupNodes("web"), ClusterException, 338);
}

TEST_F(Vcs, TheAddressIsThatOfTheFirstAddressResource) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.7");
    EXPECT_EQ(cluster.GetVirtualIP("db"), "");
    tools.Answer("hagrp -resources db", "");
    EXPECT_EQ(cluster.GetVirtualIP("db"), "");
    tools.Answer("hares -display web_disk -attribute Address -type IP", "anything\n");
    tools.Answer("hares -value web_disk Address", "10.0.0.8\n");
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.8");
    tools.Answer("hares -value web_disk Address", "10.0.0.8\n", 1);
    EXPECT_RAISES(cluster.GetVirtualIP("web"), ClusterException, 335);
    EXPECT_RAISES(cluster.GetVirtualIP("nothing"), ClusterException, 335);
}

TEST_F(Vcs, CannotBeMadeWithoutItsName) {
    tools.Answer("haclus -value ClusterName", "harbour\n", 1);
    const auto messages = MessagesOf<ClusterException>([] { Cluster(); });
    EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{336, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not instantiate VERITAS Cluster Server object.");
    std::filesystem::remove("/opt/VRTSvcs/bin/haclus");
    EXPECT_RAISES(Cluster(), ClusterException, 336);
}

TEST_F(Vcs, ToolsRunBehindWhatTheEnvironmentSays) {
    setenv("LUM_SUDO", "/usr/bin/env LUM_SEEN=1", 1);
    EXPECT_EQ(Cluster().GetName(), "harbour");
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 336);
    unsetenv("LUM_SUDO");
}

/// What is seen of the cluster, as one text.
std::string Seen() {
    const Cluster cluster;
    std::string seen = DisplayText(cluster.GetState());
    for (const std::string& name : Names(cluster.GetNodes())) seen += " " + name;
    const ClusterResourceGroups groups = cluster.GetGroups();
    for (const std::string& name : Names(groups)) seen += " " + name;
    return seen + " " + groups["web"].GetVirtualIP().ToUtf8();
}

TEST_F(Vcs, EachToolThatFailsCostsAnItemOrIsAnError) {
    const std::string whole = Seen();
    EXPECT_EQ(whole, "Up north south east web db 10.0.0.7");
    const auto look = [&whole] {
        const std::string seen = Seen();
        EXPECT_TRUE(seen == whole || seen == "Up north south east web db ") << seen;
    };
    std::vector<unsigned> errors = ErrorsOfEachTool(tools, look);
    std::erase(errors, 0u);
    EXPECT_EQ(errors, (std::vector<unsigned>{336, 236, 338, 345, 336, 335, 335, 335}))
        << "two clusters made, state, two lists, the resources twice, the address";
}

}  // namespace
