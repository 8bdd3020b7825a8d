/// @file
/// What the monitor does, without its thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "FollowApplications.h"
#include "FollowGroups.h"
#include "LastKnownGroups.h"
#include "LumConfCluster/Applications.h"
#include "LumConfCluster/Cluster.h"
#include "LumConfCluster/ClusterResourceGroups.h"
#include "LumConfCluster/MonitorWatcher.h"
#include "LumPalMsg.h"
#include "MonitorKeys.h"
#include "MonitorWarnings.h"
#include "PolicyOperation.h"

namespace LumConfCluster {

/// The start of a monitor, and its cycles. Used by one thread.
class MonitorCycle {
public:
    /// What it leaves to others.
    struct Surroundings {
        std::function<void()> stop;  ///< ends the monitor: from then on it does not run
        /// The object of policy work. What it raises counts as a cluster that is not up.
        std::function<LumConf::PolicyOperation*()> policies;
        std::function<void(std::uint32_t)> sleep;  ///< milliseconds
        MonitorWatcher& watcher;
        PolicyList list = &ListInstalled;
    };

    /// @param running  false as soon as the monitor is to end; it and the fields are the monitor's
    MonitorCycle(std::atomic<bool>& running, const MonitorFields& fields, Surroundings surroundings);
    MonitorCycle(const MonitorCycle&) = delete;
    MonitorCycle& operator=(const MonitorCycle&) = delete;

    /// Sees the cluster for the first time. In vain it stops the monitor.
    /// @throws LumPalMsg::IllegalStateError_t MonitorWithoutPolicies in vain, unless the process is stopping; what
    /// reading the
    ///         configuration throws
    void Begin();
    /// One cycle. A failure of the cluster or of policy work is logged (MonitorClusterFailed, MonitorConfFailed) and
    /// ends it; in a process that is stopping every failure does, without a word.
    /// @throws LumConf::ClusterException MonitorFailed, logged, for everything else; the monitor does not run any more
    /// then
    void Step();

private:
    bool SeeCluster();
    void Load(LastLook& look, const Cluster& cluster, const ClusterResourceGroups& groups);
    /// What the cluster cannot know yet counts as it was.
    ClusterResourceGroups LookAt(const Cluster& cluster);
    void LoadFirst(const Cluster& cluster);
    /// Where it is not as it was before.
    /// @param failure  empty when the applications were read
    void ReportLoaded(const LumPalMsg::MessageList_t& failure);
    /// Of a failure of the cluster or of policy work.
    void ReportHindrance(const LumPalMsg::Message_t& message);
    void Cycle();
    /// Of the exception that is being handled.
    void ReportFailure();
    void Follow(const LocalName& local);
    void ReportLast();

    std::atomic<bool>& running;
    const MonitorFields fields;
    const Surroundings surroundings;
    LumConf::PolicyOperation* policies = nullptr;  ///< null until the cluster was seen
    LastLook before;
    LastKnownGroups lastKnown;
    MonitorWarnings warnings;
    LumPalMsg::MessageList_t lastFailure;  ///< of the attempts to see the cluster
    LumPalStr::String_t loadFailure;       ///< why the applications could not be read; empty when they could
};

}  // namespace LumConfCluster
