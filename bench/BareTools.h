/// @file
/// Tools run by bare calls of the system.
#pragma once

#include <string>
#include <vector>

namespace bench {

/// Starts a program with posix_spawn, its input and error stream nowhere, waits for it and reads its output, which must
/// find room in a pipe of the largest size that any user may have.
/// @param words  the program's path and its arguments
/// @return what it printed. @throws std::runtime_error when it cannot be run
std::string RunBare(const std::vector<std::string>& words);

/// The tool runs that the groups of a cluster cost, in this order: the list of groups; for each group its state here,
/// the systems of the cluster with id and state, its list of systems, the id of each, and its state on each of them,
/// none of which it is online on.
/// @param systems, groups  their numbers; they are called system0, system1, ... and group0, ...
void RunBareGroups(int systems, int groups);

/// Those of a cycle of the monitor on a node with applications: the name of the cluster, its groups, and its systems
/// with id and state.
void RunBareCycle(int systems, int groups);
/// How many tools that runs.
long CountBareCycle(int systems, int groups);

}  // namespace bench
