#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ClusterSeen.h"
#include "Configure.h"
#include "EachToolFails.h"
#include "Exceptions.h"
#include "LumConfCluster/Cluster.h"
#include "Raised.h"
#include "RhasNode.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;
using std::filesystem::remove;

constexpr const char* kRelease4 = "Red Hat Enterprise Linux ES release 4 (Nahant Update 8)\n";
constexpr const char* kRelease3 = "Red Hat Enterprise Linux AS release 3 (Taroon)\n";
constexpr const char* kRelease2 = "Red Hat Linux Advanced Server release 2.1AS (Pensacola)\n";

class Rhas : public testing::Test {
protected:
    ClusterResourceGroup Group(const char* name) { return Cluster().GetGroups()[name]; }
    /// The first group of a table with this row.
    ClusterResourceGroup GroupOf(const std::string& row) {
        node.SetStatus(" Member Name\n north 1 Online\n south 2 Online\n Service Name\n ---\n" + row + "\n");
        return Cluster().GetGroups()[0];
    }
    /// The numbers and the innermost text of what making a cluster throws.
    static std::string WhyNotMade() {
        auto messages = MessagesOf<ClusterException>([] { Cluster(); });
        EXPECT_EQ(messages.GetMessage(0).GetId(), 218u);
        EXPECT_EQ(String_t(messages), "Can not instantiate Red Hat Advanced Server cluster solution.");
        return messages.GetMessage(0).GetDetails().GetMessage(0).GetMessageText().ToUtf8();
    }

    RhasNode node;
    ToolScripts& tools = node.tools;
};

TEST_F(Rhas, RunsTheToolsInTheirOrderWithTheirWords) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetType(), ClusterType::Rhas);
    EXPECT_EQ(cluster.GetName(), "harbour");
    EXPECT_EQ(tools.Calls(), Texts{"cman_tool status"});
    tools.ForgetCalls();
    cluster.GetState();
    cluster.GetNodes();
    EXPECT_EQ(tools.Calls(), (Texts{"clustat", "clustat"}));
    tools.ForgetCalls();
    cluster.GetGroups();
    EXPECT_EQ(tools.Calls(), (Texts{"clustat", "clustat"})) << "the nodes are asked for once";
    tools.ForgetCalls();
    cluster.GetGroupNodes("web");
    EXPECT_EQ(tools.Calls(), (Texts{"clustat -s web", "clustat"}));
    tools.ForgetCalls();
    cluster.GetVirtualIP("web");
    EXPECT_EQ(tools.Calls(), Texts{}) << "the configuration was read when the cluster was made";
}

TEST_F(Rhas, AnyMemberThatIsOnlineMakesTheClusterUp) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetState(), ClusterState::Up);
    for (const char* output :
         {"", "Member Name\n", " Member Name\n north Offline\n", "north Online\n",
          "Could not connect to cluster service\n", "Member Name\n north Offline\nService Name\n web Online\n"}) {
        node.SetStatus(output);
        EXPECT_EQ(cluster.GetState(), ClusterState::Down) << output;
    }
    node.SetStatus("Member Name\n a Offline\n b x,Onlinex\n");
    EXPECT_EQ(cluster.GetState(), ClusterState::Up) << "the word may stand anywhere";
}

TEST_F(Rhas, NodesAreTheMembersAndAreCountedFromZero) {
    const ClusterNodes nodes = Cluster().GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east"}));
    EXPECT_EQ(nodes[0].GetId(), 0);
    EXPECT_EQ(nodes[2].GetId(), 2);
    EXPECT_EQ(nodes["north"].GetState(), NodeState::Online);
    EXPECT_EQ(nodes["east"].GetState(), NodeState::Offline);
}

TEST_F(Rhas, GroupsHaveNameIdStatesAndOwner) {
    const ClusterResourceGroups groups = Cluster().GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups["web"].GetId(), 0);
    EXPECT_EQ(groups["web"].GetState(), RGState::Online);
    EXPECT_EQ(groups["web"].GetLocalState(), RGState::Offline) << "it runs on another node";
    EXPECT_EQ(groups["web"].GetActiveNode().GetName(), "south");
    EXPECT_EQ(groups["web"].GetActiveNode().GetId(), 1);
    EXPECT_EQ(groups["db"].GetState(), RGState::Offline);
    EXPECT_EQ(groups["db"].GetActiveNode().GetName(), "north") << "the one in the brackets";
}

TEST_F(Rhas, AGroupIsOnlineHereWhenThisNodeOwnsIt) {
    EXPECT_EQ(GroupOf("web north started").GetLocalState(), RGState::Online);
    EXPECT_EQ(GroupOf("web NORTH started").GetLocalState(), RGState::Offline) << "the owner's name counts exactly";
    EXPECT_EQ(GroupOf("web NORTH started").GetActiveNode().GetName(), "north") << "and a node's in any case";
    EXPECT_EQ(GroupOf("web north stopped").GetLocalState(), RGState::Offline);
    for (const char* row : {"web nobody started", "web (none) stopped", "web (none)", "web", "web )", "web () x"}) {
        EXPECT_EQ(GroupOf(row).GetActiveNode().GetName(), "") << row;
        EXPECT_EQ(GroupOf(row).GetLocalState(), RGState::Offline) << row;
    }
}

TEST_F(Rhas, OnlyWhatIsStartedIsOnline) {
    for (const char* word : {"stopped", "starting", "stopping", "failed", "uninitialized", "checking", "recoverable",
                             "recovering", "disabled", "migrating", "Unknown", "Started", "started,", "", ")"}) {
        EXPECT_EQ(GroupOf(std::string("web north ") + word).GetState(), RGState::Offline) << word;
    }
    EXPECT_EQ(GroupOf("web\tnorth\tstarted\tmore").GetState(), RGState::Online);
}

TEST_F(Rhas, AConfigurationMapsTheWordsOfGroups) {
    Configure("conf.cluster.RGState.RHAS", "starting", "Online");
    Configure("conf.cluster.RGState.RHAS", "failed", "unknown");
    EXPECT_EQ(GroupOf("web north starting").GetState(), RGState::Online);
    EXPECT_EQ(GroupOf("web north starting").GetLocalState(), RGState::Online);
    EXPECT_EQ(GroupOf("web north failed").GetState(), RGState::Unknown);
    EXPECT_EQ(GroupOf("web north failed").GetLocalState(), RGState::Unknown);
    for (const char* word : {"started", "stopped", "x"}) {
        EXPECT_EQ(GroupOf(std::string("web north ") + word).GetState(), RGState::Offline) << word;
    }
}

TEST_F(Rhas, ANameStandsBehindItsKindOnRelease5Alone) {
    EXPECT_EQ(GroupOf("service:web north started").GetName(), "web");
    EXPECT_EQ(GroupOf("vm:a:b north started").GetName(), "a:b");
    EXPECT_EQ(GroupOf("web north started").GetName(), "web");
    node.SetRelease(kRelease4);
    EXPECT_EQ(GroupOf("service:web north started").GetName(), "service:web");
}

TEST_F(Rhas, TheNodesOfAGroupAreThoseOfItsDomain) {
    const Cluster cluster;
    EXPECT_EQ(Names(cluster.GetGroupNodes("web")), (Texts{"south", "north"})) << "nobody is no node";
    EXPECT_EQ(cluster.GetGroupNodes("web")[0].GetId(), 1);
    EXPECT_EQ(cluster.GetGroupNodes("db").Count(), 0) << "it has no domain, and its tool ends with a code";
    tools.Answer("clustat -s WEB", "x\n");
    EXPECT_EQ(cluster.GetGroupNodes("WEB").Count(), 0);
    for (const char* output : {"Service Name\n", "x Service Name y\n"}) {
        tools.Answer("clustat -s web", output);
        EXPECT_EQ(cluster.GetGroupNodes("web").Count(), 0) << output;
    }
    for (const char* output : {"", "Service\n", "Service Name\n----\n"}) {
        tools.Answer("clustat -s web", output);
        EXPECT_EQ(cluster.GetGroupNodes("web").Count(), 2) << output;
    }
    tools.Answer("clustat -s web", "Service Name\n", 1);
    EXPECT_EQ(cluster.GetGroupNodes("web").Count(), 2) << "what a tool that fails prints is no answer";
    node.SetStatus("", 1);
    EXPECT_RAISES(cluster.GetGroupNodes("web"), ClusterException, 224);
}

TEST_F(Rhas, OnRelease4AGroupHasAllNodesOnceItIsKnown) {
    node.SetRelease(kRelease4);
    const Cluster cluster;
    EXPECT_EQ(cluster.GetGroupNodes("db").Count(), 3);
    tools.Answer("clustat -s nothing", "  Service Name  Owner (Last)  State\n");
    EXPECT_EQ(cluster.GetGroupNodes("nothing").Count(), 0);
    EXPECT_EQ(cluster.GetGroupNodes("-x").Count(), 3) << "no tool gets such a name";
}

TEST_F(Rhas, TheAddressIsThatOfTheFirstAddressInTheServiceHoweverDeep) {
    const Cluster cluster;
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.7") << "that in the disk, and no later one";
    EXPECT_EQ(cluster.GetVirtualIP("db"), "");
    EXPECT_EQ(cluster.GetVirtualIP("WEB"), "");
    remove(RhasNode::kConfiguration);
    const auto messages = MessagesOf<ClusterException>([&] { cluster.GetVirtualIP("web"); });
    EXPECT_EQ(messages.GetMessage(0).GetId(), 680u);
    EXPECT_EQ(String_t(messages), "The cluster conf file '/etc/cluster/cluster.conf' does not exist.");
}

TEST_F(Rhas, OfSeveralServicesOfANameTheFirstIsTaken) {
    const Cluster before;
    WriteText(RhasNode::kConfiguration,
              "<cluster><rm><resources><service name='web'/></resources><service ref='web'><ip ref='1'/></service>"
              "<service name='web' domain='first'><ip ref='2'/></service><service><ip ref='3'/></service>"
              "<service name='inline'><ip address='4'/></service><service name='upper'><IP ref='5'/></service>"
              "<service name='deep'><fs><script><ip ref='6'/></script></fs><ip ref='7'/></service>"
              "<service name='behind'><fs/><ip/><ip ref='8'/></service></rm>"
              "</cluster>");
    const Cluster cluster;
    EXPECT_EQ(cluster.GetVirtualIP("web"), "") << "the one among the resources";
    EXPECT_EQ(cluster.GetVirtualIP(""), "") << "who has no name is not called nothing";
    EXPECT_EQ(cluster.GetVirtualIP("inline"), "") << "it refers to nothing";
    EXPECT_EQ(cluster.GetVirtualIP("upper"), "");
    EXPECT_EQ(cluster.GetVirtualIP("deep"), "6") << "in depth before the next one beside it";
    EXPECT_EQ(cluster.GetVirtualIP("behind"), "") << "the first one ends the search, whatever it says";
    EXPECT_EQ(before.GetVirtualIP("web"), "10.0.0.7") << "each one keeps what it has read";
}

TEST_F(Rhas, TheRecordedConfigurationsAreSearched) {
    const auto load = [](const char* name) {
        WriteText(RhasNode::kConfiguration, ReadText(std::string(LUM_TEST_DATA "/recorded/rhas/cluster.conf-") + name));
    };
    load("domains.txt");
    node.SetStatus("Member Name\nred Online\nblue Online\n");
    tools.Answer("clustat -s blueonly", "x\n");
    EXPECT_EQ(Names(Cluster().GetGroupNodes("blueonly")), Texts{"blue"});
    EXPECT_EQ(Cluster().GetVirtualIP("oracle"), "") << "the service is told of by a reference";
    load("nested.txt");
    EXPECT_EQ(Cluster().GetVirtualIP("test2"), "") << "addresses are nested, and the service is a resource";
    load("reference.txt");
    EXPECT_EQ(Cluster().GetVirtualIP("test1"), "")
        << "the first of the name is a resource; the one that is used has one";
    tools.Answer("clustat -s testdomain1", "x\n");
    for (const char* name : {"members-of-domains.txt", "no-domains.txt", "no-resources.txt"}) {
        load(name);
        EXPECT_EQ(Cluster().GetVirtualIP("testdomain1"), "") << name;
        EXPECT_EQ(Cluster().GetGroupNodes("testdomain1").Count(), 0) << name << ": a domain is no service";
    }
}

TEST_F(Rhas, TheReleaseDecidesWhichToolsThereAre) {
    WriteText("/etc/cluster.conf", "<cluster/>");
    WriteText("/etc/cluster.xml", "<cluster/>");
    tools.Answer("cluadmin -- cluster name", "old\n");
    tools.Answer("redhat-config-cluster-cmd --cluster", "cluster:\n  name = third\n");
    struct Case {
        const char* release;
        const char* name;
    };
    for (const Case& row :
         {Case{kRelease2, "old"}, Case{kRelease3, "third"}, Case{kRelease4, "harbour"}, Case{"release 5", "harbour"},
          Case{"no number of a kind\n", "old"}, Case{"release\n", "old"}, Case{"v1.0 release 5\n", "old"},
          Case{"", "old"}, Case{"release x\n", "old"}, Case{"prerelease 3.9 release 5\n", "third"}}) {
        node.SetRelease(row.release);
        EXPECT_EQ(Cluster().GetName(), row.name) << row.release;
    }
}

TEST_F(Rhas, WhatIsMissingIsNamed) {
    remove("/etc/redhat-release");
    EXPECT_EQ(WhyNotMade(), "The  release file '/etc/redhat-release' does not exist.");
    std::filesystem::create_directory("/etc/redhat-release");
    EXPECT_EQ(WhyNotMade(), "Could not read policy data file '/etc/redhat-release'.");
    remove("/etc/redhat-release");
    ASSERT_EQ(mkfifo("/etc/redhat-release", 0600), 0);
    EXPECT_EQ(WhyNotMade(), "Could not read policy data file '/etc/redhat-release'.");
    remove("/etc/redhat-release");
    node.SetRelease("release 5 " + std::string(2 << 20, 'x'));
    EXPECT_EQ(WhyNotMade(), "Could not read policy data file '/etc/redhat-release'.");
    for (const char* release : {"release 6.2\n", "release 7", "release 99999999999\n"}) {
        node.SetRelease(release);
        EXPECT_NE(WhyNotMade().find("The tools of release '"), std::string::npos) << release;
    }
    EXPECT_EQ(tools.Calls(), Texts{});
}

TEST_F(Rhas, AToolOrAConfigurationThatIsMissingIsNamed) {
    remove(RhasNode::kConfiguration);
    for (const char* release : {kRelease2, kRelease3, kRelease4, "release 5\n"}) {
        tools.Answer("cluadmin -- cluster name", "harbour\n");
        tools.Answer("redhat-config-cluster-cmd --cluster", "");
        node.SetRelease(release);
        EXPECT_EQ(WhyNotMade(), "Cluster configuration file /etc/cluster/cluster.conf is not found.") << release;
    }
    remove("/usr/sbin/cman_tool");
    EXPECT_EQ(WhyNotMade(), "Cluster CLI cman_tool not found.");
    node.SetRelease(kRelease3);
    remove("/usr/sbin/redhat-config-cluster-cmd");
    EXPECT_EQ(WhyNotMade(), "Cluster CLI redhat-config-cluster-cmd not found.");
}

TEST_F(Rhas, AConfigurationThatIsNoXmlIsAnError) {
    for (const char* text : {"", "name = harbour\n", "<cluster>", "<a/><b/>"}) {
        WriteText(RhasNode::kConfiguration, text);
        EXPECT_NE(WhyNotMade().find(RhasNode::kConfiguration), std::string::npos) << text;
    }
}

TEST_F(Rhas, TheNameIsFoundInEitherSpelling) {
    for (const char* output : {"Cluster name: harbour\n", "Cluster Id: 1\nCluster Name:\tharbour\t\nCluster Id: 1\n",
                               "x Cluster Name:harbour"}) {
        tools.Answer("cman_tool status", output);
        EXPECT_EQ(Cluster().GetName(), "harbour") << output;
    }
    for (const char* output : {"", "Cluster: harbour\n", "cluster name: harbour\n", "CLUSTER NAME: harbour\n"}) {
        tools.Answer("cman_tool status", output);
        EXPECT_EQ(Cluster().GetName(), "") << output;
    }
    tools.Answer("cman_tool status", ReadText(LUM_TEST_DATA "/recorded/rhas/cman_tool-status.txt"));
    EXPECT_EQ(Cluster().GetName(), "elao");
    tools.Answer("cman_tool status", ReadText(LUM_TEST_DATA "/recorded/rhas/cman_tool-status-no-quorum.txt"));
    EXPECT_EQ(Cluster().GetName(), "cluster66");
    tools.Answer("cman_tool status", ReadText(LUM_TEST_DATA "/recorded/rhas/cman_tool-status-one-node.txt"));
    EXPECT_EQ(Cluster().GetName(), "build");
}

TEST_F(Rhas, WhatIsLostAsAWholeIsAnErrorWithItsReason) {
    const Cluster cluster;
    node.SetStatus("x\n", 1);
    struct Case {
        void (*ask)(const Cluster&);
        unsigned number;
        const char* text;
    };
    for (const Case& row :
         {Case{[](const Cluster& c) { c.GetState(); }, 220, "Can not get cluster state."},
          Case{[](const Cluster& c) { c.GetNodes(); }, 224, "Can not get cluster nodes."},
          Case{[](const Cluster& c) { c.GetGroups(); }, 231, "Can not get cluster resource groups."}}) {
        const auto messages = MessagesOf<ClusterException>([&] { row.ask(cluster); });
        EXPECT_EQ(Numbers(messages), (std::vector<unsigned>{row.number, 335, 334, 0}));
        EXPECT_EQ(String_t(messages), row.text);
    }
}

TEST_F(Rhas, ToolsRunBehindWhatTheEnvironmentSays) {
    setenv("LUM_SUDO", "/usr/bin/env LUM_SEEN=1", 1);
    EXPECT_EQ(Cluster().GetName(), "harbour");
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 218);
    unsetenv("LUM_SUDO");
}

TEST_F(Rhas, EachToolThatFailsIsAnErrorButTheTestForAService) {
    EXPECT_EQ(AskAll(), 2);
    EXPECT_EQ(ErrorsOfEachTool(tools, AskAll), (std::vector<unsigned>{218, 220, 224, 0, 224, 231, 231}));
}

}  // namespace
