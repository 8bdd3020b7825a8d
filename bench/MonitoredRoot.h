/// @file
/// The cycles of a node's monitor.
#pragma once

#include <functional>
#include <string>

#include "Harness.h"

namespace bench {

/// Makes a root that follows a cluster of these groups: two policies for each of them, of which one names the group,
/// and the other one is listed by an application; all of them are disabled, as nothing is online. This node is system0.
void FillMonitoredRoot(const std::string& root, int groups);

/// Runs a monitor in this process, whose root is such a one, and a reference behind each of its cycles, in all of which
/// nothing changes. The first pair is not kept. @param reference  returns its seconds
/// @throws std::runtime_error when the monitor ends before
Pairs MeasureCycles(int count, const std::function<double()>& reference);

}  // namespace bench
