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
    for (const char* product :
         {"", "VERITAS Cluster Server (VCS)", "Red Hat Advanced Server (RHAS)", "Pacemaker (PCMK)"})
        EXPECT_EQ(SaidOf("CLUSTER_TYPE", product).find("CLUSTER_TYPE"), std::string::npos) << product;
    for (const char* seconds : {"0", "30", "4294967"})
        EXPECT_EQ(SaidOf("TOOL_TIMEOUT", seconds).find("TOOL_TIMEOUT"), std::string::npos) << seconds;
}

TEST(ClusterKeys, WhatADaemonFillsMayBeEmpty) {
    const TempRoot root;
    for (const char* key : {"CLUSTER_TYPE", "POLLING_INTERVAL", "MONITOR_MODE"})
        EXPECT_EQ(SaidOf(key, "").find(key), std::string::npos) << key;
}

TEST(ClusterKeys, TheKeysOfTheMonitorAreKnown) {
    const TempRoot root;
    struct Row {
        const char *key, *good, *bad;
    };
    const Row rows[] = {{"POLLING_INTERVAL", "1", "0"},
                        {"POLLING_INTERVAL", "2147483647", "2147483648"},
                        {"POLLING_INTERVAL", "10000", "ten"},
                        {"MONITOR_MODE", "on", "perhaps"},
                        {"MAX_RETRIES_FOR_CLUSTERUP", "5", "many"},
                        {"COMMAND_TIMEOUT", "30", "30s"},
                        {"COMMAND_TIMEOUT", "0", "-1"}};
    for (const Row& row : rows) {
        EXPECT_NE(SaidOf(row.key, row.bad).find("[conf.cluster] " + std::string(row.key) + "=" + row.bad + ": must be"),
                  std::string::npos)
            << row.key;
        EXPECT_EQ(SaidOf(row.key, row.good).find(row.key), std::string::npos) << row.key;
    }
}

TEST(ClusterKeys, AWrongValueIsToldWithItsKey) {
    const TempRoot root;
    for (const char* product : {"VCS", "veritas cluster server (vcs)", "VERITAS Cluster Server", "Unknown"})
        EXPECT_NE(
            SaidOf("CLUSTER_TYPE", product).find("[conf.cluster] CLUSTER_TYPE=" + std::string(product) + ": must be"),
            std::string::npos);
    for (const char* seconds : {"soon", "-1", "", "10s", "4294968"})
        EXPECT_NE(
            SaidOf("TOOL_TIMEOUT", seconds).find("[conf.cluster] TOOL_TIMEOUT=" + std::string(seconds) + ": must be"),
            std::string::npos);
}

}  // namespace
