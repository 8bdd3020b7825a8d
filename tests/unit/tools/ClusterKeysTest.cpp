#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Configure.h"
#include "TempRoot.h"
#include "lumconfd/ConfigCheck.h"

namespace {

std::string SaidOf(const char* key, const char* value) {
    Configure("conf.cluster", key, value);
    std::ostringstream said;
    lumconfd::CheckConfiguration(said);
    return said.str();
}

TEST(ClusterKeys, GoodValuesAreNotMentioned) {
    const TempRoot root;
    for (const char* product : {"", "Unknown", "VERITAS Cluster Server (VCS)", "Red Hat Advanced Server (RHAS)"})
        EXPECT_EQ(SaidOf("CLUSTER_TYPE", product).find("CLUSTER_TYPE"), std::string::npos) << product;
    for (const char* seconds : {"0", "30", "4294967"})
        EXPECT_EQ(SaidOf("TOOL_TIMEOUT", seconds).find("TOOL_TIMEOUT"), std::string::npos) << seconds;
}

TEST(ClusterKeys, AWrongValueIsToldWithItsKey) {
    const TempRoot root;
    for (const char* product : {"VCS", "veritas cluster server (vcs)", "VERITAS Cluster Server"})
        EXPECT_NE(
            SaidOf("CLUSTER_TYPE", product).find("[conf.cluster] CLUSTER_TYPE=" + std::string(product) + ": must be"),
            std::string::npos);
    for (const char* seconds : {"soon", "-1", "", "10s"})
        EXPECT_NE(
            SaidOf("TOOL_TIMEOUT", seconds).find("[conf.cluster] TOOL_TIMEOUT=" + std::string(seconds) + ": must be"),
            std::string::npos);
}

}  // namespace
