/// @file
/// What is said of the work with many nodes: while it lasts, and at its end.
#pragma once

#include <string>
#include <vector>

#include "common/NodesWork.h"

namespace lumtools {

/// "2 of 20 nodes (5 s), waiting for a: a step, b and 3 more"; of one node "waiting for a (5 s): a step".
std::string TextOf(const NodesWork& work, const std::vector<std::string>& hosts, std::chrono::seconds elapsed);

/// "20 nodes: 17 done, 1 unreachable, 2 unknown", in the order of the exit codes.
std::string SummaryOf(const std::vector<const Answer*>& answers);

/// The exit code for many nodes: what they have in common. What was done already is no failure of many.
ExitCode CodeOf(const std::vector<const Answer*>& answers);

}  // namespace lumtools
