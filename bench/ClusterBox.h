/// @file
/// A process of this program on a node of a simulated cluster.
#pragma once

#include <string>

#include "Harness.h"

namespace bench {

/// A cluster of systems called system0, system1, ..., and of groups called group0, group1, ...
struct MeasuredCluster {
    int systems, groups;
    const char* product = "vcs";  ///< as the simulator calls it
    bool isOnline =
        false;  ///< each group on a system, in turns; otherwise none is, so that each system is asked for it
};

/// What is measured there.
struct ClusterTask {
    const char* name;  ///< "groups", "name", "tools": the name against its tools alone, "replay": the groups against
                       ///< the tools that they were seen to run, or "cycle": of the monitor
    MeasuredCluster cluster;
    int pairs;
};

/// Describes a cluster in a file, beside which the log of its calls will stand.
void DescribeCluster(const std::string& path, const MeasuredCluster& cluster);
/// The program that runs others on a node of a cluster.
std::string ClusterSimulator();

/// Describes a cluster of so many systems and groups in a folder of its own, which goes afterwards, and has the pairs
/// measured by a process that runs on a node of it. @throws std::runtime_error
Pairs MeasureInCluster(const ClusterTask& task);

/// That process: measures and prints the seconds of each pair in a line.
/// @param arguments  the task's members in their order. @return what the process ends with
int RunInCluster(char** arguments);

}  // namespace bench
