/// @file
/// A process of this program on a node of a simulated cluster.
#pragma once

#include <string>

#include "Harness.h"

namespace bench {

/// What is measured there.
struct ClusterTask {
    const char* name;  ///< "groups", "name", "tools": the name against its tools alone, or "cycle": of the monitor
    int systems, groups, pairs;
};

/// Describes a cluster of systems called system0, system1, ..., and of groups called group0, group1, ..., none of which
/// is online, so that every system is asked for its state. Tools stand beside it. @param path  of the description
void DescribeCluster(const std::string& path, int systems, int groups);
/// The program that runs others on a node of a cluster.
std::string ClusterSimulator();

/// Describes a cluster of so many systems and groups in a folder of its own, which goes afterwards, and has the pairs
/// measured by a process that runs on a node of it. @throws std::runtime_error
Pairs MeasureInCluster(const ClusterTask& task);

/// That process: measures and prints the seconds of each pair in a line.
/// @param arguments  the task's members in their order. @return what the process ends with
int RunInCluster(char** arguments);

}  // namespace bench
