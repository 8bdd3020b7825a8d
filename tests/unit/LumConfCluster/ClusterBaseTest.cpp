#include "LumConfCluster/ClusterBase.h"

#include <gtest/gtest.h>

#include "LumConfCluster/ClusterUtil.h"
#include "PolicyHeader.h"
#include "PolicyHeaderImpl.h"

namespace {

using LumConfCluster::ClusterBase;
using LumConfCluster::ClusterUtil;

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

TEST(ClusterUtil, WithoutAMonitorAHeaderStaysAsItCame) {
    for (const char* attribute : {"HARG:group", "HARG:noHARG", "other"}) {
        LumConf::PolicyHeader header;
        header.SetAttribute(attribute, "value");
        header.SetCategory("c");
        ClusterUtil::ChangeHeader(header.GetImpl());
        EXPECT_TRUE(header.IsEnabled());
        header.SetDisabled();
        ClusterUtil::ChangeHeader(header.GetImpl());
        EXPECT_TRUE(header.IsDisabled());
        EXPECT_EQ(header.GetAttributesCount(), 1);
        EXPECT_EQ(header.GetCategoryCount(), 1);
    }
}

}  // namespace
