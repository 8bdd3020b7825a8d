#include "LumConfCluster/ClusterMonitor.h"

#include "Exceptions.h"
#include "LumPalDaemon.h"
#include "Messages.h"
#include "MonitorCycle.h"
#include "MonitorLog.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalThread::Thread_t;

namespace {

constexpr const char* kThreadName = "LumConfCluster_ClusterMonitor";

[[noreturn]] void LogThenRaise(void (*log)(const LumPalMsg::Message_t&), const LumPalMsg::Message_t& message) {
    log(message);
    throw ClusterMonitorException(message);
}

}  // namespace

ClusterMonitor::ClusterMonitor() = default;

ClusterMonitor::~ClusterMonitor() = default;

void ClusterMonitor::Start() {
    if (thread.IsNotNull()) LogThenRaise(&LogAsMonitor, Make(msg::MonitorRunsAlready));
    thread = Thread_t(kThreadName);
    running = true;
    try {
        thread.Start(*this);
    } catch (const LumPalMsg::RuntimeException_t&) {
        running = false;
        thread = Thread_t();
        throw;
    }
}

void ClusterMonitor::Stop() {
    if (thread.IsNull()) LogThenRaise(&LogEverywhere, Make(msg::MonitorNotRunning));
    running = false;
    thread.Join();
}

bool ClusterMonitor::IsRunning() const {
    return running;
}

void ClusterMonitor::Run(const Thread_t&) {
    LUMCONF_BLOCK(trace::Cluster, "ClusterMonitor::Run");
    MonitorCycle cycle(running, {clusterType, pollingInterval, monitorMode},
                       {[this] { Stop(); }, &PolicyOperation::GetInstance, &Thread_t::Sleep, *this});
    try {
        // Where the process stops there is no sleep any more: who calls no Stop would go round and round.
        for (cycle.Begin(); running && !LumPalRuntime::IsStopping();) {
            cycle.Step();
            Thread_t::Sleep(static_cast<std::uint32_t>(pollingInterval));
        }
        running = false;
    } catch (...) {
        running = false;
        throw;
    }
}

void ClusterMonitor::Done(bool success) {
    LUMCONF_TRACE(trace::Cluster, success ? "the cluster monitor has ended" : "the cluster monitor has failed");
}

}  // namespace LumConfCluster
