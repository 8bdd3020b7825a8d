#include "MonitorLog.h"

#include "LumConfCluster/ClusterUtil.h"
#include "LumPalLog.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;

namespace {

/// Where the configuration cannot be read, which may be what went wrong, it is said rather than not.
bool IsToldInLog() {
    try {
        return ClusterUtil::IsMonitorMode();
    } catch (const LumPalMsg::Exception_t&) {
        return true;
    }
}

}  // namespace

void TellAsMonitor(const LumPalMsg::Message_t& message) {
    if (IsToldInLog()) return TellEverywhere(message);
    LUMCONF_TRACE(trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
}

void TellEverywhere(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    LumPalLog::Log(message);
}

}  // namespace LumConfCluster
