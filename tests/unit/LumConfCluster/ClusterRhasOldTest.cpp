// Red Hat clusters up to release 3.
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "ClusterSeen.h"
#include "Configure.h"
#include "Exceptions.h"
#include "LumConfCluster/Cluster.h"
#include "Raised.h"
#include "RhasNode.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using std::filesystem::remove;

constexpr const char* kRelease3 = "Red Hat Enterprise Linux AS release 3 (Taroon)\n";
constexpr const char* kRelease2 = "Red Hat Linux Advanced Server release 2.1AS (Pensacola)\n";

class OldRhas : public testing::Test {
protected:
    RhasNode node;
    ToolScripts& tools = node.tools;
};

TEST_F(OldRhas, OnRelease3OtherToolsTellAndNobodyKnowsWhereAGroupRuns) {
    node.SetRelease(kRelease3);
    remove(RhasNode::kConfiguration);
    WriteText("/etc/cluster.xml", "<cluster/>");
    tools.Answer("redhat-config-cluster-cmd --cluster", "cluster:\n  name = harbour \n");
    tools.Answer("redhat-config-cluster-cmd --service=web --service_ipaddresses", "x\n  ipaddress = 10.0.0.7\n");
    tools.Answer("redhat-config-cluster-cmd --service=db --service_ipaddresses", "");
    node.SetStatus(
        "Cluster Status\n Member   Status\n ------------------ ----------\n north  Active   <-- here\n"
        " south  Inactive\n east  Active:x\n\n Service   Status\n ------- ------\n web  started north\n"
        " db  stopped\n");
    const Cluster cluster;
    EXPECT_EQ(cluster.GetName(), "harbour");
    EXPECT_EQ(cluster.GetState(), ClusterState::Up);
    const ClusterNodes nodes = cluster.GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east"}));
    EXPECT_EQ(nodes[0].GetState(), NodeState::Online);
    EXPECT_EQ(nodes[1].GetState(), NodeState::Offline);
    EXPECT_EQ(nodes[2].GetState(), NodeState::Offline) << "the word is the whole column";
    const ClusterResourceGroups groups = cluster.GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups[0].GetState(), RGState::Online);
    EXPECT_EQ(groups[0].GetLocalState(), RGState::Unknown);
    EXPECT_EQ(groups[0].GetActiveNode().GetName(), "");
    EXPECT_EQ(groups[1].GetId(), 1);
    EXPECT_EQ(Names(cluster.GetGroupNodes("anything")), (Texts{"north", "south", "east"}));
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.7");
    EXPECT_EQ(cluster.GetVirtualIP("db"), "");
    EXPECT_RAISES(cluster.GetVirtualIP("-x"), ClusterException, 335);
}

TEST_F(OldRhas, BelowRelease3OneToolTellsAll) {
    node.SetRelease(kRelease2);
    remove(RhasNode::kConfiguration);
    WriteText("/etc/cluster.conf", "<cluster/>");
    tools.Answer("cluadmin -- cluster name", "harbour\n");
    tools.Answer("cluadmin -- cluster status",
                 "title\n======= M e m b e r =======\n\n Member Status\n ------ ------\n north  Up  0\n south  UP  1\n"
                 " east  Down  2\n\n====== S e r v i c e ======\n web Up\n");
    tools.Answer("cluadmin -- service show services", "web\n\n  db  \n");
    tools.Answer("cluadmin -- service show state", " web started north\n other started\n");
    tools.Answer("cluadmin -- service show config web", "name: web\n IP address 0: 10.0.0.7 \n IP address 1: 2\n");
    const Cluster cluster;
    EXPECT_EQ(cluster.GetName(), "harbour");
    EXPECT_EQ(cluster.GetState(), ClusterState::Up);
    const ClusterNodes nodes = cluster.GetNodes();
    EXPECT_EQ(Names(nodes), (Texts{"north", "south", "east"}));
    EXPECT_EQ(nodes[0].GetState(), NodeState::Online);
    EXPECT_EQ(nodes[1].GetState(), NodeState::Offline) << "the word is another one";
    const ClusterResourceGroups groups = cluster.GetGroups();
    EXPECT_EQ(Names(groups), (Texts{"web", "db"}));
    EXPECT_EQ(groups[0].GetState(), RGState::Online);
    EXPECT_EQ(groups[1].GetState(), RGState::Offline) << "of which nobody told a state";
    EXPECT_EQ(cluster.GetGroupNodes("web").Count(), 3);
    EXPECT_EQ(cluster.GetVirtualIP("web"), "10.0.0.7");
    tools.Answer("cluadmin -- cluster status", "", 1);
    EXPECT_RAISES(cluster.GetState(), ClusterException, 220);
}

TEST_F(OldRhas, AConfigurationMapsTheWordsOfGroups) {
    Configure("conf.cluster.RGState.RHAS", "running", "ONLINE");
    for (const char* path : {"/etc/cluster.conf", "/etc/cluster.xml"}) WriteText(path, "<cluster/>");
    tools.Answer("cluadmin -- cluster name", "harbour\n");
    tools.Answer("cluadmin -- service show services", "web\ndb\n");
    tools.Answer("cluadmin -- service show state", "web running\ndb started\n");
    tools.Answer("redhat-config-cluster-cmd --cluster", "name = harbour\n");
    node.SetStatus("Service Status\nweb running\ndb started\n");
    for (const char* release : {kRelease2, kRelease3}) {
        node.SetRelease(release);
        EXPECT_EQ(Cluster().GetGroups()["web"].GetState(), RGState::Online) << release;
        EXPECT_EQ(Cluster().GetGroups()["db"].GetState(), RGState::Offline) << release;
    }
}

}  // namespace
