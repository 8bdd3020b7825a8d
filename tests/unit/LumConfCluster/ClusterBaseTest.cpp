#include "LumConfCluster/ClusterBase.h"

#include <gtest/gtest.h>

namespace {

using LumConfCluster::ClusterBase;

TEST(ClusterBase, ConstantsHaveTheirValues) {
    EXPECT_STREQ(ClusterBase::Get_component_id(), "conf.cluster");
    EXPECT_EQ(ClusterBase::Get_maxLine(), 80);
    EXPECT_EQ(ClusterBase::Get_msgIndent(), 10);
    EXPECT_STREQ(ClusterBase::Get_lumclusterinfo_cli(), "lumclusterinfo");
    EXPECT_STREQ(ClusterBase::Get_lumappinstance_cli(), "lumappinstance");
}

TEST(ClusterBase, NoClusterIsDetectedUntilSomebodySaysSo) {
    EXPECT_FALSE(ClusterBase::GetClusterEnvDetected());
    ClusterBase::SetClusterEnvDetected(true);
    EXPECT_TRUE(ClusterBase::GetClusterEnvDetected());
    ClusterBase::SetClusterEnvDetected(false);
    EXPECT_FALSE(ClusterBase::GetClusterEnvDetected());
}

}  // namespace
