/// @file
/// A process of this program on a node of a simulated cluster.
#pragma once

#include "Harness.h"

namespace bench {

/// What is measured there.
struct ClusterTask {
    const char* name;  ///< "groups", "name", or "tools": the name against its tools alone
    int systems, groups, pairs;
};

/// Describes a cluster of so many systems and groups in a folder of its own, which goes afterwards, and has the pairs
/// measured by a process that runs on a node of it. @throws std::runtime_error
Pairs MeasureInCluster(const ClusterTask& task);

/// That process: measures and prints the seconds of each pair in a line.
/// @param arguments  the task's members in their order. @return what the process ends with
int RunInCluster(char** arguments);

}  // namespace bench
