#include "MonitorCycle.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "ConfBase.h"
#include "Exceptions.h"
#include "HostNames.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "MonitorLog.h"
#include "Names.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

constexpr std::uint32_t kPauseAtStartMs = 35000;

/// A node without applications has no list of them.
bool IsWithoutApplications(const Exception_t& e) {
    return dynamic_cast<const LumPalIo::FileNotFoundException_t*>(&e) && !paths::ApplicationListFile().Exists();
}

LumPalMsg::MessageList_t HindranceOf(const MonitorFields& fields) {
    if (fields.monitorMode) return {};
    return LumPalMsg::CreateInfo_t("MONITOR_MODE of conf.cluster is off.");
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
        LogEverywhere(message);
        throw LumPalMsg::IllegalStateError_t(message);
    }
    surroundings.watcher.Seen(before.applications, before.read);
}

/// Whatever the list holds by the time of a failure counts.
void MonitorCycle::Load(LastLook& look, const Cluster& cluster, const ClusterResourceGroups& groups) {
    look.read = MonitorWatcher::Look::Whole;
    LumPalMsg::MessageList_t failure;
    try {
        look.applications.LoadConfig(cluster, groups);
    } catch (const Exception_t& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
        if (!IsWithoutApplications(e)) {
            look.read = MonitorWatcher::Look::Partial;
            failure = e.GetMessageList();
        }
    }
    ReportLoaded(failure);
}

ClusterResourceGroups MonitorCycle::LookAt(const Cluster& cluster) {
    const ClusterResourceGroups told = cluster.GetGroups();
    return lastKnown.Settle(told, std::chrono::steady_clock::now());
}

void MonitorCycle::LoadFirst(const Cluster& cluster) {
    try {
        Load(before, cluster, LookAt(cluster));
    } catch (const Exception_t& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
        before.read = MonitorWatcher::Look::Partial;
        ReportLoaded(e.GetMessageList());
    }
}

void MonitorCycle::ReportLoaded(const LumPalMsg::MessageList_t& failure) {
    if (LumPalRuntime::IsStopping()) return;  // its tools were ended
    const String_t reason = failure.Format(LumPalMsg::BareText | LumPalMsg::Details);
    // Before the mode is on, what is said of the commands does not come true.
    if (reason == loadFailure || !IsMonitored()) return;
    loadFailure = reason;
    if (reason.IsEmpty()) {
        LumPalLog::Log(LumPalMsg::CreateInfo_t("The applications of the cluster are read to their end again."));
        return;
    }
    LumPalMsg::CreateMessage_t line = LumPalMsg::CreateWarn_t(
        "The applications of the cluster are not read to their end. What was not read is not followed meanwhile, and "
        "taken for new as soon as it is read again: the start commands of what is online on this node run then.");
    LumPalLog::Log(line.AddDetails(failure));
}

bool MonitorCycle::SeeCluster() {
    try {
        const Cluster cluster;
        LoadFirst(cluster);
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
        surroundings.watcher.CycleEnded(HindranceOf(fields));
    } catch (const Exception_t& e) {
        if (!LumPalRuntime::IsStopping()) return ReportFailure();
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());  // of tools and requests that were given up
    }
    if (LumPalRuntime::IsStopping()) ReportLast();
}

/// What was switched before the stop is kept in memory alone.
void MonitorCycle::ReportLast() {
    try {
        policies->NotifyEnableDisable(names::NsConfCluster);
    } catch (const Exception_t& e) {
        LumPalMsg::CreateMessage_t line = LumPalMsg::CreateWarn_t(
            "What the cluster monitor has switched last could not be reported to its consumers.");
        LumPalLog::Log(line.AddDetails(e.GetMessageList()));
    }
}

void MonitorCycle::ReportFailure() {
    try {
        throw;
    } catch (const ClusterException& e) {
        ReportHindrance(Make(msg::MonitorClusterFailed, e));
    } catch (const ConfException& e) {
        ReportHindrance(Make(msg::MonitorConfFailed, e));
    } catch (const Exception_t& e) {
        running = false;
        const LumPalMsg::Message_t message = Make(msg::MonitorFailed, e);
        LogAsMonitor(message);
        throw ClusterException(message);
    }
}

void MonitorCycle::ReportHindrance(const LumPalMsg::Message_t& message) {
    LogAsMonitor(message);
    surroundings.watcher.CycleEnded(message);
}

void MonitorCycle::Cycle() {
    const HostNamesOnce once;
    const LocalName local = FollowKeys(fields);
    if (fields.monitorMode) Follow(local);
}

void MonitorCycle::Follow(const LocalName& local) {
    const Cluster cluster;
    const ClusterResourceGroups groups = LookAt(cluster);
    LastLook now;
    Load(now, cluster, groups);
    if (LumPalRuntime::IsStopping()) return;  // as at the start
    warnings.Loaded(now.applications);
    FollowApplications(now.applications, before, *policies, warnings, surroundings.watcher);
    if (LumPalRuntime::IsStopping()) return;
    before = now;
    surroundings.watcher.Seen(before.applications, before.read);
    FollowGroups(groups, local.OrToldBy(cluster), surroundings.list, *policies, warnings);
    policies->NotifyEnableDisable(names::NsConfCluster);
}

}  // namespace LumConfCluster
