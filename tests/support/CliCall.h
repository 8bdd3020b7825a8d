/// @file
/// Calls of the cluster tools' command line in this process.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LumConfCluster/ClusterCliHandler.h"
#include "LumPalRuntime.h"

struct Told {
    int code = -1;
    std::string output;
};

/// What the tool of this path does with the arguments; what it throws passes through.
inline Told AskTool(const char* tool, const std::vector<const char*>& arguments) {
    std::vector<const char*> all{tool};
    all.insert(all.end(), arguments.begin(), arguments.end());
    LumPalRuntime::App_t::Init(static_cast<int>(all.size()), all.data());
    Told told;
    testing::internal::CaptureStdout();
    try {
        told.code = LumConfCluster::ClusterCliHandler().Process();
    } catch (...) {
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "a failure prints nothing";
        throw;
    }
    told.output = testing::internal::GetCapturedStdout();
    return told;
}
