#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ClusterSeen.h"
#include "Configure.h"
#include "EachToolFails.h"
#include "Exceptions.h"
#include "LumConfCluster/Cluster.h"
#include "PlsdNode.h"
#include "Raised.h"
#include "TraceLines.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;
using Ids = std::vector<unsigned>;

class Plsd : public testing::Test {
protected:
    ClusterResourceGroup Group(const char* name) { return Cluster().GetGroups()[name]; }

    PlsdNode node;
    ToolScripts& tools = node.tools;
    CapturedLog log{node.root.Native()};
};

TEST_F(Plsd, RunsTheToolsInTheirOrderWithTheirWords) {
    const Cluster cluster;
    EXPECT_EQ(tools.Calls(), Texts{"plsview -l cluster"});
    tools.ForgetCalls();
    cluster.GetState();
    cluster.GetNodes();
    EXPECT_EQ(tools.Calls(), (Texts{"plsview -l node -n north", "plsview -l node"}));
    tools.ForgetCalls();
    cluster.GetGroups();
    EXPECT_EQ(tools.Calls(),
              (Texts{"plsview -l package", "plsview -l node", "plsview -l node", "plsview -v", "plsview -l node"}));
    tools.ForgetCalls();
    cluster.GetGroupNodes("web");
    cluster.GetVirtualIP("web");
    EXPECT_EQ(tools.Calls(), (Texts{"plsview -l node", "plsconf -p web", "plsconf -p web"}));
}

TEST_F(Plsd, TheNameIsTheFirstWordOfTheThirdLine) {
    EXPECT_EQ(Cluster().GetType(), ClusterType::Plsd);
    struct Case {
        const char *output, *name;
    };
    for (const Case& row : {Case{"\nCLUSTER STATUS\nharbour up\n", "harbour"}, Case{"a\nb\n\t two\tup\nd\n", "two"},
                            Case{"a\nb\n\nd\n", ""}, Case{"a\nb\n", ""}, Case{"", ""}}) {
        tools.Answer("plsview -l cluster", row.output);
        EXPECT_EQ(Cluster().GetName(), row.name) << row.output;
    }
}

TEST_F(Plsd, EachWordMeansTheSameOfTheClusterOfNodesAndOfGroups) {
    struct Case {
        const char* word;
        int state;
    };
    for (const Case& row : {Case{"up", 1}, Case{"down", 2}, Case{"unknown", 0}, Case{"starting", 0}, Case{"halting", 0},
                            Case{"", 0}, Case{"UP", 0}, Case{"failed", 0}}) {
        const std::string word = row.word;
        node.SetOwnState(word);
        node.SetNodes("north\t" + word + "\n");
        node.SetPackages("web " + word + (word.empty() ? "" : " - - - south") + "\n");
        const Cluster cluster;
        EXPECT_EQ(static_cast<int>(cluster.GetState()), row.state) << word;
        EXPECT_EQ(static_cast<int>(cluster.GetNodes()[0].GetState()), row.state) << word;
        EXPECT_EQ(static_cast<int>(cluster.GetGroups()[0].GetState()), row.state) << word;
    }
}

TEST_F(Plsd, AStateOfWhichNothingIsToldIsUnknown) {
    const Cluster cluster;
    for (const char* output : {"", "\nNODE STATUS\n", "a\nb\n\n", "a\nb\nnorth\n"}) {
        tools.Answer("plsview -l node -n north", output);
        EXPECT_EQ(cluster.GetState(), ClusterState::Unknown) << output;
    }
    tools.Answer("plsview -l node -n north", "", 1);
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetState(); })), (Ids{236, 335, 334, 0}));
    EXPECT_FALSE(log.Holds("Can not get the state of the local node."));
}

TEST_F(Plsd, NodesAreNumberedInTheOrderInWhichTheyAreTold) {
    node.SetNodes("  north   up\n\n\tsouth\tdown\textra\nalone\n");
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "alone"})) << "an empty line is no node";
    for (int i = 0; i < 3; ++i) EXPECT_EQ(nodes[i].GetId(), i);
    EXPECT_EQ(nodes[1].GetState(), NodeState::Offline);
    EXPECT_EQ(nodes[2].GetState(), NodeState::Unknown);
    for (const char* output : {"", "one line\n", "two\nlines\n"}) {
        tools.Answer("plsview -l node", output);
        EXPECT_EQ(Cluster().GetNodes().Count(), 0) << output;
    }
}

TEST_F(Plsd, WithoutAListThereIsAnError) {
    const Cluster cluster;
    tools.Answer("plsview -l package", "", 3);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroups(); });
    EXPECT_EQ(Numbers(messages), (Ids{242, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not get group list for Palisade.");
    node.SetPackages("web up - - - south\n");
    tools.Answer("plsview -l node", "", 3);
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetNodes(); })), (Ids{239, 335, 334, 0}));
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetGroups(); })), (Ids{242, 239, 335, 334, 0}));
    EXPECT_FALSE(log.Holds("Palisade"));
}

TEST_F(Plsd, AnOwnedPackageIsActiveOnItsNode) {
    node.SetPackages("PACKAGE STATUS\nweb up - - - south\nhere down a b c north\nfar up - - - west\nnone up\n");
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "here", "far", "none"}));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(groups[i].GetId(), i);
    EXPECT_EQ(groups[0].GetActiveNode().GetName(), "south");
    EXPECT_EQ(groups[0].GetLocalState(), RGState::Offline);
    EXPECT_EQ(groups[1].GetActiveNode().GetName(), "north");
    EXPECT_EQ(groups[1].GetLocalState(), RGState::Online) << "whatever its state as a whole is";
    EXPECT_EQ(groups[1].GetState(), RGState::Offline);
    EXPECT_EQ(groups[2].GetActiveNode().GetName(), "") << "no node of the cluster";
    EXPECT_EQ(groups[2].GetLocalState(), RGState::Offline);
    EXPECT_EQ(groups[3].GetActiveNode().GetName(), "");
}

TEST_F(Plsd, TheNodeIsAllThatStandsBehindThreeFurtherWords) {
    node.SetPackages("a up 1 2 3 north \nb up 1 2 3 4 north\nc up 1 2 north\nd up\t1\t2\t3\tnorth\n");
    const ClusterResourceGroups groups = Cluster().GetGroups();
    const RGState expected[] = {RGState::Online, RGState::Offline, RGState::Offline, RGState::Online};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(groups[i].GetLocalState(), expected[i]) << i;
}

TEST_F(Plsd, AnUnownedPackageIsNowhereThoughANodeStandsInItsLine) {
    node.SetPackages("web up - - - south\n  UNOWNED_PACKAGES  \nPACKAGE\nfar down - - - north\n");
    const ClusterResourceGroup group = Group("far");
    EXPECT_EQ(group.GetLocalState(), RGState::Offline);
    EXPECT_EQ(group.GetActiveNode().GetName(), "");
    EXPECT_EQ(group.GetId(), 1);
}

TEST_F(Plsd, APackageOfManyNodesRunsHereWhenTheLongListingSaysSo) {
    const ClusterResourceGroup here = Group("mon");
    EXPECT_EQ(here.GetLocalState(), RGState::Online);
    EXPECT_EQ(here.GetActiveNode().GetName(), "north");
    const std::string others = PlsdNode::Listing("web", {"north"});
    for (const std::string& listing :
         {PlsdNode::Listing("mon", {"south"}), PlsdNode::Listing("mon", {}) + others, others, std::string(),
          std::string("PACKAGE        STATUS"), std::string("PACKAGE        STATUS\nmon\nNODE_NAME"),
          std::string("PACKAGE       STATUS\nmon\nNODE_NAME\nnorth\n"), std::string("mon\nNODE_NAME\nnorth\n"),
          std::string("PACKAGE        STATUS\nmon\nNODE_NAME\nx north\n")}) {
        tools.Answer("plsview -v", listing);
        const ClusterResourceGroup group = Group("mon");
        EXPECT_EQ(group.GetLocalState(), RGState::Unknown) << listing;
        EXPECT_EQ(group.GetActiveNode().GetName(), "") << listing;
    }
    tools.Answer("plsview -v", PlsdNode::Listing("mon", {"south"}) + others + PlsdNode::Listing("mon", {"north"}));
    EXPECT_EQ(Group("mon").GetLocalState(), RGState::Online) << "told in two places";
    node.SetNodes("south up\n");
    EXPECT_EQ(Group("mon").GetLocalState(), RGState::Online);
    EXPECT_EQ(Group("mon").GetActiveNode().GetName(), "") << "this node is none of the cluster's";
    tools.Answer("plsview -v", "", 1);
    EXPECT_RAISES(Cluster().GetGroups(), ClusterException, 242);
}

TEST_F(Plsd, NothingMakesWhatComesBehindASectionOwnedAgain) {
    node.SetPackages(
        "UNOWNED_PACKAGES\na up - - - north\nMULTI_NODE_PACKAGES\nmon up\nUNOWNED_PACKAGES\nc up - - - north\n");
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(groups["mon"].GetLocalState(), RGState::Online);
    for (const char* name : {"a", "c"}) EXPECT_EQ(groups[name].GetLocalState(), RGState::Offline) << name;
}

TEST_F(Plsd, NoPackageIsNoError) {
    for (const char* output : {"", "\n\n", "PACKAGE STATUS\n", "UNOWNED_PACKAGES\n"}) {
        node.SetPackages(output);
        EXPECT_EQ(Cluster().GetGroups().Count(), 0) << output;
    }
}

TEST_F(Plsd, AConfigurationMapsTheWordsOfGroupsAlone) {
    Configure("conf.cluster.RGState.PLSD", "starting", "ONLINE");
    node.SetPackages("web starting - - - south\nhere up - - - north\n");
    EXPECT_EQ(Group("web").GetState(), RGState::Online);
    EXPECT_EQ(Group("here").GetState(), RGState::Offline) << "the table no longer counts";
    EXPECT_EQ(Group("here").GetLocalState(), RGState::Online) << "which follows from the node";
}

TEST_F(Plsd, EachWordMayBeMappedAndNoneThatIsNot) {
    const Texts words{"up", "down", "unknown", "starting", "halting"};
    for (const std::string& mapped : words) {
        const TempRoot other;
        Configure("conf.cluster.RGState.PLSD", mapped.c_str(), "ONLINE");
        for (const std::string& word : words) {
            node.SetPackages("web " + word + " - - - south\n");
            const RGState state = word == mapped ? RGState::Online : RGState::Offline;
            EXPECT_EQ(Group("web").GetState(), state) << mapped << " " << word;
        }
    }
}

TEST_F(Plsd, TheNodesOfAGroupStandInItsConfiguration) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"south", "north"}));
    EXPECT_EQ(Names(cluster.GetGroupNodes("db")), (Texts{"north", "south", "east"}));
    node.SetConfiguration("web", "NODE_NAME EAST\nNODE_NAMES north\n#NODE_NAME south\nNODE_NAME * behind\n");
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"north", "south", "east"})) << "all, at once";
    node.SetConfiguration("web", "NODE_NAME EAST\nNODE_NAMES north\n#NODE_NAME south\n");
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"east"}));
    node.SetConfiguration("web", "");
    EXPECT_EQ(cluster.GetGroupNodes("web").Count(), 0);
}

TEST_F(Plsd, ANodeOfAGroupThatTheClusterDoesNotHaveIsAnErrorThatIsLogged) {
    const Cluster cluster;
    for (const char* lines : {"NODE_NAME north\nNODE_NAME west\n", "NODE_NAME\n"}) {
        node.SetConfiguration("web", lines);
        const auto messages = MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("web"); });
        EXPECT_EQ(String_t(messages), "Can not get node list for group 'web' for Palisade CAL.");
        EXPECT_EQ(Numbers(messages), (Ids{244, 0}));
    }
    EXPECT_TRUE(log.Holds("ERROR Can not get node list for group 'web' for Palisade CAL."));
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("none"); })), (Ids{244, 335, 334, 0}));
    EXPECT_RAISES(cluster.GetGroupNodes("-x"), ClusterException, 244);
    tools.Answer("plsview -l node", "", 1);
    EXPECT_EQ(Numbers(MessagesOf<ClusterException>([&] { cluster.GetGroupNodes("web"); })),
              (Ids{244, 239, 335, 334, 0}));
}

TEST_F(Plsd, TheAddressIsTheFirstOneThatTheScriptSets) {
    struct Case {
        const char *script, *address;
    };
    const Cluster cluster;
    for (const Case& row :
         {Case{"IP[0]=10.0.0.7\n", "10.0.0.7"}, Case{"IP[0]=\"10.0.0.7\"\n", "10.0.0.7"},
          Case{"  IP[0]\t =  '10.0.0.7' \nIP[0]=10.0.0.8\n", "10.0.0.7"}, Case{"IP[0]=10.0.0.7", "10.0.0.7"},
          Case{"IP[0]=a10.0=0.7b\r\n", "10.0=0.7"}, Case{"IP[0]=\nIP[0]=10.0.0.8\n", ""}, Case{"IP[0]=none\n", ""},
          Case{"IP[0]\nIP[0]=.\n", "."}, Case{"IP[1]=10.0.0.7\n#IP[0]=10.0.0.8\nIP[0]x=1\n", ""}, Case{"", ""}}) {
        WriteText(node.Script(), row.script);
        EXPECT_EQ(cluster.GetVirtualIP("web"), row.address) << row.script;
        EXPECT_TRUE(cluster.GetVirtualIP("web").IsNotNull());
    }
    EXPECT_EQ(cluster.GetVirtualIP("db"), "") << "no script is configured";
    EXPECT_RAISES(cluster.GetVirtualIP("none"), ClusterException, 335);
}

TEST_F(Plsd, TheFirstConfiguredScriptCounts) {
    WriteText(node.root.Native() + "/other", "IP[0]=10.0.0.9\n");
    const std::string other = "RUN_SCRIPT " + node.root.Native() + "/other\n";
    node.SetConfiguration("web", "RUN_SCRIPTS x\n\t" + other + "RUN_SCRIPT " + node.Script() + "\n");
    EXPECT_EQ(Cluster().GetVirtualIP("web"), "10.0.0.9");
    node.SetConfiguration("web", "RUN_SCRIPT\n" + other);
    EXPECT_EQ(Cluster().GetVirtualIP("web"), "");
}

TEST_F(Plsd, AScriptThatIsNoFileOrHasNoEndHoldsNobodyUp) {
    const std::string fifo = node.root.Native() + "/fifo", huge = node.root.Native() + "/huge";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    WriteText(huge, "IP[0]");
    std::filesystem::resize_file(huge, std::uintmax_t{1} << 40);
    for (const std::string& path : {fifo, huge, node.root.Native(), std::string("/dev/zero"), std::string("/dev/tty"),
                                    std::string("/no/such/script"), std::string("a\x01")}) {
        node.SetConfiguration("web", "RUN_SCRIPT " + path + "\n");
        const TraceLines traced;
        EXPECT_EQ(Cluster().GetVirtualIP("web"), "") << path;
        EXPECT_EQ(traced.Contains("More than '4194304' bytes of the script"), path == huge);
    }
    EXPECT_FALSE(log.Holds("script"));
}

TEST_F(Plsd, TheNodeIsCalledAsTheSystemCallsItWhereNothingIsConfigured) {
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    char host[256] = "";
    ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
    tools.Answer(std::string("plsview -l node -n ") + host, "\n\nx up\n");
    EXPECT_EQ(Cluster().GetState(), ClusterState::Up);
}

TEST_F(Plsd, CannotBeMadeWithoutItsTool) {
    tools.Answer("plsview -l cluster", "", 1);
    const auto messages = MessagesOf<ClusterException>([] { Cluster(); });
    EXPECT_EQ(Numbers(messages), (Ids{234, 335, 334, 0}));
    EXPECT_EQ(String_t(messages), "Can not instantiate Palisade object.");
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    tools.Answer("plsview -l cluster", "");
    EXPECT_RAISES(Cluster(), ClusterException, 234);
    setenv("LUM_SUDO", "/usr/bin/env LUM_SEEN=1", 1);
    EXPECT_EQ(Cluster().GetName(), "");
    unsetenv("LUM_SUDO");
}

std::string Seen() {
    const Cluster cluster;
    std::string seen = DisplayText(cluster.GetState());
    for (const std::string& name : Names(cluster.GetNodes())) seen += " " + name;
    const ClusterResourceGroups groups = cluster.GetGroups();
    for (const std::string& name : Names(groups)) seen += " " + name;
    for (const std::string& name : Names(cluster.GetGroupNodes("web"))) seen += " " + name;
    return seen + " " + groups["web"].GetVirtualIP().ToUtf8();
}

TEST_F(Plsd, EachToolThatFailsIsAnError) {
    const std::string whole = "Up north south east web mon db south north 10.0.0.7";
    EXPECT_EQ(Seen(), whole);
    EXPECT_EQ(ErrorsOfEachTool(tools, Seen), (Ids{234, 236, 239, 242, 242, 242, 242, 242, 244, 244, 234, 335}));
    EXPECT_EQ(Seen(), whole);
}

}  // namespace
