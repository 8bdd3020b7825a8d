/// @file
/// Lets the policies of this node follow what the cluster runs on it.
#pragma once

#include <atomic>
#include <cstdint>

#include "Export.h"
#include "LumPalStr.h"
#include "LumPalThread.h"
#include "MonitorWatcher.h"

namespace LumConfCluster {

/// Asks the cluster again and again what runs on this node, on a thread of its own. When a resource group comes or
/// goes, the commands of its applications are run; policies that an application lists, and policies that name a group
/// by an attribute ("HARG:"), are enabled where it is and disabled where it is not. docs/clusters.md tells how.
///
/// It changes the policies by the process's own object of policy operations: it runs in a process that serves the root,
/// and in another one it ends, because that object cannot be made beside it. What it does is told to who derives from
/// it. One for a process. It is not started a second time: after its end a new object takes its place. Start and Stop
/// are called by one thread.
class LUMCONF_API ClusterMonitor : public LumPalThread::Runnable_i, protected MonitorWatcher {
public:
    ClusterMonitor();
    ClusterMonitor(const ClusterMonitor&) = delete;
    ClusterMonitor& operator=(const ClusterMonitor&) = delete;
    /// Stops nothing: the thread must have ended before.
    ~ClusterMonitor() override;

    /// What the thread does: sees the cluster, at most MAX_RETRIES_FOR_CLUSTERUP times with 35 seconds between them,
    /// and then lives through a cycle every POLLING_INTERVAL milliseconds until it is stopped. A failure of the cluster
    /// (268) or of policy work (269) ends its cycle alone.
    /// Ends without a word in a process that is stopping.
    /// @throws LumPalMsg::IllegalStateError_t 622 when the cluster or the policy operations were not there, also when
    /// it
    ///         was stopped before they were
    /// @throws LumConf::ClusterException 270, in a cycle, with the messages of what ended it
    void Run(const LumPalThread::Thread_t& thread) override;
    /// Traces that the thread ends.
    void Done(bool success) override;

    /// Starts the thread. @throws LumConf::ClusterMonitorException 247 when this was done before, whatever came of it;
    /// LumPalMsg::RuntimeException_t without room for a thread (it may be called again)
    void Start();
    /// Lets the thread end behind its present cycle, and waits for that: up to one POLLING_INTERVAL and whatever a tool
    /// takes, or 35 seconds as long as no cluster is seen; in a process that is stopping (LumPalRuntime::SetStopping)
    /// about a second. From the thread itself it returns at once.
    /// @throws LumConf::ClusterMonitorException 250 when it was not started
    void Stop();
    /// From Start on, until Stop is called or the monitor gives up. Any thread.
    bool IsRunning() const;

private:
    LumPalThread::Thread_t thread;
    std::atomic<bool> running{false};
    // The thread's own.
    LumPalStr::String_t clusterType;       ///< display name of the product that was seen
    std::int32_t pollingInterval = 10000;  ///< milliseconds
    bool monitorMode = true;
};

}  // namespace LumConfCluster
