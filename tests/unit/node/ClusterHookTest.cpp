// What an install on a node of a cluster asks the cluster.
#include <gtest/gtest.h>

#include "LumConfCluster/ClusterBase.h"
#include "PolicyNode.h"
#include "VcsNode.h"

namespace LumConf {
namespace {

using LumConfCluster::ClusterBase;

class ClusterHook : public testing::Test {
protected:
    ~ClusterHook() override { ClusterBase::SetClusterEnvDetected(false); }
    void Install(const char* id, const char* attribute) {
        TestPolicy policy;
        policy.id = id;
        policy.name = std::string("name of ") + id;
        policy.attributes = {{attribute, "v"}};
        node.Install(policy);
    }

    VcsNode cluster;
    PolicyNode node;
};

TEST_F(ClusterHook, APolicyOfAGroupThatIsNotOnLineHereIsInstalledDisabledWhereAMonitorRuns) {
    ClusterBase::SetClusterEnvDetected(true);
    Install("a", "HARG:db");
    Install("b", "HARG:noHARG");
    Install("c", "other");
    EXPECT_TRUE(node.Get("a").IsDisabled());
    EXPECT_TRUE(node.Get("b").IsEnabled());
    EXPECT_TRUE(node.Get("c").IsEnabled());
    EXPECT_NE(cluster.tools.Calls().size(), 0u);
}

TEST_F(ClusterHook, WithoutAMonitorNothingIsAskedAndThePolicyIsInstalledAsItCame) {
    Install("a", "HARG:db");
    EXPECT_TRUE(node.Get("a").IsEnabled());
    EXPECT_EQ(cluster.tools.Calls().size(), 0u);
}

}  // namespace
}  // namespace LumConf
