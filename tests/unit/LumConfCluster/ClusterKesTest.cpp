#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ClusterSeen.h"
#include "Configure.h"
#include "EachToolFails.h"
#include "Exceptions.h"
#include "KesNode.h"
#include "LumConfCluster/Cluster.h"
#include "Raised.h"
#include "TraceLines.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;
using Ids = std::vector<unsigned>;

class Kes : public testing::Test {
protected:
    ClusterResourceGroup Group(const char* name) { return Cluster().GetGroups()[name]; }

    KesNode node;
    ToolScripts& tools = node.tools;
};

TEST_F(Kes, RunsTheToolsInTheirOrderWithTheirWords) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetType(), ClusterType::Kes);
    EXPECT_EQ(tools.Calls(), Texts{"kes_get_info -raw"});
    tools.ForgetCalls();
    cluster.GetNodes();
    cluster.GetGroups();
    EXPECT_EQ(tools.Calls(), (Texts{"kes_get_info -raw", "kes_get_info -raw", "kes_stat -t"}));
    tools.ForgetCalls();
    cluster.GetGroupNodes("web");
    EXPECT_EQ(tools.Calls(), (Texts{"kes_get_info -raw", "kes_stat -p web"}));
}

TEST_F(Kes, TheClusterIsUpAndHasNoAddressesWithoutAnyTool) {
    const Cluster cluster;
    tools.ForgetCalls();
    for (const char* call : {"kes_get_info -raw", "kes_stat -t"}) tools.Answer(call, "", 1);
    EXPECT_EQ(cluster.GetState(), ClusterState::Up);
    EXPECT_EQ(cluster.GetVirtualIP("web"), "");
    EXPECT_TRUE(cluster.GetVirtualIP("none").IsNotNull());
    EXPECT_EQ(tools.Calls(), Texts{});
}

TEST_F(Kes, TheNameIsTheSecondFieldOfTheFirstLine) {
    struct Case {
        const char *record, *name;
    };
    for (const Case& row : {Case{"C:harbour:x", "harbour"}, Case{"C:harbour", "harbour"},
                            Case{"C: har bour :", "har bour "}, Case{"::x", ""}, Case{"harbour", ""}, Case{"", ""}}) {
        tools.Answer("kes_get_info -raw", std::string(row.record) + "\nM:1:a:-:-:UP\n");
        EXPECT_EQ(Cluster().GetName(), row.name) << row.record;
    }
}

TEST_F(Kes, CannotBeMadeWithoutItsName) {
    tools.Answer("kes_get_info -raw", "");
    const auto messages = MessagesOf<ClusterException>([] { Cluster(); });
    EXPECT_EQ(Numbers(messages), (Ids{328, 335, 0}));
    EXPECT_EQ(String_t(messages), "Can not instantiate Kestrel Cluster Server object.");
    tools.Answer("kes_get_info -raw", "C:harbour\n", 1);
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([] { Cluster(); })), (Ids{328, 335, 334, 0}));
    tools.Answer("kes_get_info -raw", "C:harbour\n");
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    tools.Answer("hostname -s", "south\n", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 328);
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 328);
    unsetenv("LUM_SUDO");
}

TEST_F(Kes, TheNodeIsCalledAsTheSystemCallsItWhereNothingIsConfigured) {
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    tools.Answer("hostname -s", "south\n");
    EXPECT_EQ(Group("web").GetLocalState(), RGState::Online);
    EXPECT_EQ(tools.Count("hostname -s"), 1u);
}

TEST_F(Kes, NodesHaveTheShortNamesOfTheirHosts) {
    node.SetMembers("M:10:north.example.com:-:-:UP:\n M : 11 : south :-:-: DOWN\n\nx:12:.x:::UP\nM:13:e.a.b:-:-:\n");
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south ", "", "e"})) << "an empty line is no record";
    for (int i = 0; i < 4; ++i) EXPECT_EQ(nodes[i].GetId(), 10 + i);
    EXPECT_EQ(nodes[1].GetState(), NodeState::Offline);
    EXPECT_EQ(nodes[3].GetState(), NodeState::Unknown);
    node.SetMembers("");
    EXPECT_EQ(Cluster().GetNodes().Count(), 0);
}

TEST_F(Kes, TheWordsOfNodesMeanStates) {
    struct Case {
        const char* word;
        NodeState state;
    };
    for (const Case& row :
         {Case{"UP", NodeState::Online}, Case{"DOWN", NodeState::Offline}, Case{"", NodeState::Unknown},
          Case{"up", NodeState::Unknown}, Case{"JOINING", NodeState::Unknown}, Case{"UP ", NodeState::Unknown},
          Case{" UP", NodeState::Online}}) {
        node.SetMembers("M:10:north:-:-:" + std::string(row.word) + ":x\n");
        EXPECT_EQ(Cluster().GetNodes()[0].GetState(), row.state) << row.word;
    }
}

TEST_F(Kes, OneBadRecordIsTheLossOfAll) {
    const Cluster cluster;
    for (const char* record : {"M:11:south:-:-", "M", "M:11", "M:x:south:-:-:UP", "M::south:-:-:UP",
                               "M:-1:south:-:-:UP", "M:65536:south:-:-:UP"}) {
        node.SetMembers("M:10:north:-:-:UP\n" + std::string(record) + "\n");
        const auto messages = MessagesOf<ClusterException>([&] { cluster.GetNodes(); });
        EXPECT_EQ(Numbers(messages), (Ids{224, 0})) << record;
        EXPECT_EQ(String_t(messages), "Can not get cluster nodes.");
        EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetGroups(); })), (Ids{231, 224, 0})) << record;
    }
    tools.Answer("kes_get_info -raw", "", 1);
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetNodes(); })), (Ids{224, 335, 334, 0}));
}

TEST_F(Kes, OnlyApplicationsAreGroupsAndTheirNumbersHaveNoHoles) {
    node.SetResources(
        "a_ip address - ONLINE north\n\n  web\tapplication  - ONLINE   south more\nx\n"
        "b_ip Application - ONLINE north\ndb application\n");
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups[0].GetId(), 0);
    EXPECT_EQ(groups[1].GetId(), 1);
    EXPECT_EQ(groups["web"].GetActiveNode().GetName(), "south");
    EXPECT_EQ(groups["web"].GetActiveNode().GetId(), 11);
    for (const char* output : {"", "web application - ONLINE\n", "one\nweb application - ONLINE\n"}) {
        tools.Answer("kes_stat -t", output);
        EXPECT_EQ(Cluster().GetGroups().Count(), 0) << "the first two lines are headings";
    }
}

TEST_F(Kes, AGroupIsOnlineByOneWordAloneAndHereWhereItsHostIs) {
    struct Case {
        const char *word, *host;
        RGState state, local;
        const char* active;
    };
    for (const Case& row : {Case{"ONLINE", "north", RGState::Online, RGState::Online, "north"},
                            Case{"ONLINE", "south", RGState::Online, RGState::Offline, "south"},
                            Case{"ONLINE", "NORTH", RGState::Online, RGState::Offline, "north"},
                            Case{"ONLINE", "west", RGState::Online, RGState::Offline, ""},
                            Case{"ONLINE", "", RGState::Online, RGState::Offline, ""},
                            Case{"OFFLINE", "north", RGState::Offline, RGState::Offline, "north"},
                            Case{"online", "north", RGState::Offline, RGState::Offline, "north"},
                            Case{"UNKNOWN", "", RGState::Offline, RGState::Offline, ""}}) {
        node.SetResources("web application ONLINE " + std::string(row.word) + " " + row.host + "\n");
        const ClusterResourceGroup group = Group("web");
        EXPECT_EQ(group.GetState(), row.state) << row.word << row.host;
        EXPECT_EQ(group.GetLocalState(), row.local) << row.word << row.host;
        EXPECT_EQ(group.GetActiveNode().GetName(), row.active) << row.word << row.host;
    }
}

TEST_F(Kes, NoConfigurationMapsTheWordsOfGroups) {
    for (const char* place : {"conf.cluster.RGState.KES", "conf.cluster", "conf.cluster.RGState"})
        Configure(place, "ONLINE", "UNKNOWN");
    EXPECT_EQ(Group("web").GetState(), RGState::Online);
}

TEST_F(Kes, WithoutTheListOfResourcesThereIsAnError) {
    const Cluster cluster;
    tools.Answer("kes_stat -t", "", 1);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroups(); });
    EXPECT_EQ(Numbers(messages), (Ids{231, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not get cluster resource groups.");
}

TEST_F(Kes, ARestrictedGroupRunsOnItsHostingMembersAlone) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"south", "north"}));
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"north", "south", "east"}));
    struct Case {
        const char* profile;
        Texts nodes;
    };
    const Texts all{"north", "south", "east"};
    for (const Case& row :
         {Case{"HOSTING_MEMBERS=south\n", all}, Case{"", all}, Case{"PLACEMENT=restricted\n", {}},
          Case{"PLACEMENT = restricted\nHOSTING_MEMBERS=south\n", all},
          Case{"PLACEMENT=Restricted\nHOSTING_MEMBERS=south\n", all},
          Case{" HOSTING_MEMBERS =  east \t\t north   \n\tPLACEMENT=restricted\t\n", {"east", "north"}},
          Case{"PLACEMENT=restricted\nHOSTING_MEMBERS=\nHOSTING_MEMBERS\nHOSTING_MEMBERS=south\nHOSTING_MEMBERS=EAST\n",
               {"south", "east"}},
          Case{"PLACEMENT=restricted\nHOSTING_MEMBERS=south south\n", {"south", "south"}}}) {
        node.SetProfile("web", row.profile);
        EXPECT_EQ(Names(cluster.GetGroupNodes("web")), row.nodes) << row.profile;
    }
}

TEST_F(Kes, AHostingMemberThatIsNoNodeIsAnError) {
    const Cluster cluster;
    node.SetProfile("web", "PLACEMENT=restricted\nHOSTING_MEMBERS=south west\n");
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("web"); });
    EXPECT_EQ(Numbers(messages), (Ids{332, 0}));
    EXPECT_EQ(String_t(messages), "Can not get nodes for resource groups.");
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("none"); })), (Ids{332, 335, 334, 0}));
    EXPECT_RAISES(cluster.GetGroupNodes("-x"), ClusterException, 332);
    node.SetMembers("bad\n");
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("web"); })), (Ids{332, 224, 0}));
}

TEST_F(Kes, WhatIsAskedForIsTraced) {
    const TraceLines traced;
    Cluster().GetGroupNodes("web");
    EXPECT_TRUE(traced.Contains("Getting nodes for resource group 'web'."));
    EXPECT_TRUE(traced.Contains("Getting info for node 'north'."));
}

std::string Seen() {
    const Cluster cluster;
    std::string seen = DisplayText(cluster.GetState());
    for (const std::string& name : Names(cluster.GetNodes())) seen += " " + name;
    for (const std::string& name : Names(cluster.GetGroups())) seen += " " + name;
    for (const std::string& name : Names(cluster.GetGroupNodes("web"))) seen += " " + name;
    return seen;
}

TEST_F(Kes, EachToolThatFailsIsAnError) {
    EXPECT_EQ(Seen(), "Up north south east web db south north");
    EXPECT_EQ(ErrorsOfEachTool(tools, Seen), (Ids{328, 224, 231, 231, 332, 332}));
}

}  // namespace
