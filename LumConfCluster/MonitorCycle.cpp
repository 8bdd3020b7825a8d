#include "MonitorCycle.h"

#include <algorithm>
#include <utility>

#include "ConfBase.h"
#include "Exceptions.h"
#include "FollowApplications.h"
#include "FollowGroups.h"
#include "LumConfCluster/Cluster.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumPalDaemon.h"
#include "Messages.h"
#include "MonitorLog.h"
#include "Names.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

constexpr std::uint32_t kPauseAtStartMs = 35000;

/// A node without applications has no files of them: whatever the list holds by then counts.
void LoadAsFarAsPossible(Applications& applications, const Cluster& cluster, const ClusterResourceGroups& groups) {
    try {
        applications.LoadConfig(cluster, groups);
    } catch (const Exception_t& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
}

}  // namespace

MonitorCycle::MonitorCycle(std::atomic<bool>& running, const MonitorFields& fields, Surroundings surroundings)
    : running(running), fields(fields), surroundings(std::move(surroundings)) {}

void MonitorCycle::Begin() {
    const int configured = ConfBase::Get_NS_ConfCluster().Open().GetInt(names::MaxRetriesForClusterUpKey);
    for (int left = std::max(configured, 1); left > 0 && !SeeCluster(); --left) {
        if (left > 1) surroundings.sleep(kPauseAtStartMs);
        if (!running || LumPalRuntime::IsStopping()) break;
    }
    // Tools that were ended by the stop of the process make the cluster look as it is not.
    if (LumPalRuntime::IsStopping()) return surroundings.stop();
    if (fields.clusterType.IsEmpty()) surroundings.stop();
    if (!policies) {
        const LumPalMsg::Message_t message = Make(msg::MonitorWithoutPolicies, lastFailure);
        TellEverywhere(message);
        throw LumPalMsg::IllegalStateError_t(message);
    }
    surroundings.seen(before);
}

bool MonitorCycle::SeeCluster() {
    try {
        const Cluster cluster;
        try {
            const ClusterResourceGroups groups = cluster.GetGroups();
            before.LoadConfig(cluster, groups);
        } catch (const Exception_t& e) {
            LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
        }
        policies = surroundings.policies();
        fields.clusterType = DisplayText(cluster.GetType());
        ClusterBase::SetClusterEnvDetected(true);
        return true;
    } catch (const Exception_t& e) {
        lastFailure = e.GetMessageList();
    } catch (const std::exception& e) {
        lastFailure = LumPalMsg::CreateError_t(String_t::FromUtf8(e.what()));
    } catch (...) {
        lastFailure = LumPalMsg::CreateError_t("What has failed does not tell its reason.");
    }
    LUMCONF_TRACE(trace::Cluster, lastFailure);
    return false;
}

void MonitorCycle::Step() {
    try {
        Cycle();
    } catch (const Exception_t& e) {
        if (!LumPalRuntime::IsStopping()) return TellFailure();
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());  // of tools and requests that were given up
    }
}

void MonitorCycle::TellFailure() {
    try {
        throw;
    } catch (const ClusterException& e) {
        TellAsMonitor(Make(msg::MonitorClusterFailed, e));
    } catch (const ConfException& e) {
        TellAsMonitor(Make(msg::MonitorConfFailed, e));
    } catch (const Exception_t& e) {
        running = false;
        const LumPalMsg::Message_t message = Make(msg::MonitorFailed, e);
        TellAsMonitor(message);
        throw ClusterException(message);
    }
}

void MonitorCycle::Cycle() {
    const LocalName local = FollowKeys(fields);
    if (fields.monitorMode) Follow(local);
}

void MonitorCycle::Follow(const LocalName& local) {
    const Cluster cluster;
    const ClusterResourceGroups groups = cluster.GetGroups();
    Applications now;
    LoadAsFarAsPossible(now, cluster, groups);
    if (LumPalRuntime::IsStopping()) return;  // as at the start
    warnings.Loaded(now);
    FollowApplications(now, before, *policies, warnings);
    if (LumPalRuntime::IsStopping()) return;
    before = now;
    surroundings.seen(before);
    FollowGroups(groups, local, *policies, warnings);
    policies->NotifyEnableDisable(names::NsConfCluster);
}

}  // namespace LumConfCluster
