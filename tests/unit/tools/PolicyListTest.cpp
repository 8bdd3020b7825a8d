// What a daemon that was killed leaves beside the merged policy list.
#include "lumconfd/PolicyList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Configure.h"
#include "Faults.h"
#include "Files.h"
#include "ForkedProcess.h"
#include "TempRoot.h"

namespace {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

/// In a process of its own, as a daemon is one.
void StartAndStop() {
    ForkedProcess daemon([] { const lumconfd::PolicyList list; });
    EXPECT_EQ(daemon.Wait(), 0);
}

struct PolicyListTest : testing::Test {
    TempRoot root{kFastFolder};
    const fs::path folder = root.Native() + "/conf/conf";

    Names Files() const {
        Names names;
        for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
};

}  // namespace

TEST_F(PolicyListTest, ACrashAtEachStepLeavesNothingBehindTheNextStartWhetherItWritesTheListOrNot) {
    for (const char* const on : {"true", "false"}) {
        int left = 0;
        ForEachFault([&](int nth) {
            fs::remove_all(folder);
            fs::create_directories(folder);
            Configure("conf.server", "FORMAT_POLICY_LIST", "true");
            const bool crashed = CrashesAt(nth, false, [] { const lumconfd::PolicyList list; });
            const bool isThere = fs::exists(folder / "lum_policies.txt");
            left += fs::exists(folder / "lum_policies.txt.tmp");
            Configure("conf.server", "FORMAT_POLICY_LIST", on);
            StartAndStop();
            const bool expected = isThere || std::string(on) == "true";
            EXPECT_EQ(Files(), expected ? Names{"lum_policies.txt"} : Names()) << nth;
            return crashed;
        });
        EXPECT_GE(left, 3);
    }
}

TEST_F(PolicyListTest, WhatHasASimilarNameStays) {
    const Names foreign{"lum_policies.tmp", "lum_policies.txt.tmp.tmp", "lum_policies.txt.tmp~", "mine.tmp"};
    for (const std::string& name : foreign) WriteText(folder / name, "kept");
    WriteText(folder / "lum_policies.txt.tmp", "left");
    StartAndStop();
    EXPECT_EQ(Files(), foreign);
}
