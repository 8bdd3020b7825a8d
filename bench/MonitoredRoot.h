/// @file
/// The monitor of a node, a cycle at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "LumPalStr.h"
#include "MonitorCycle.h"

namespace bench {

/// Makes a root that follows a cluster of these groups: two policies for each of them, of which one names the group,
/// and the other one is listed by an application; all of them are disabled, as nothing is online. This node is system0.
void FillMonitoredRoot(const std::string& root, int groups);

/// The policies of this process's root, which is such a one, and a monitor that has begun. One for the process; one
/// thread.
class MonitoredRoot {
public:
    MonitoredRoot();
    /// Nothing has changed since the last one. @throws std::runtime_error when the monitor ended
    void RunCycle();

private:
    std::atomic<bool> running{true};
    LumPalStr::String_t clusterType;
    std::int32_t pollingInterval = 1;
    bool monitorMode = true;
    LumConfCluster::MonitorCycle cycle;
};

}  // namespace bench
