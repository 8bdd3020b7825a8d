#include "MonitorLog.h"

#include "LumConfCluster/ClusterUtil.h"
#include "LumPalLog.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;

// Where the configuration cannot be read, which may be what went wrong, it is said rather than not.
bool IsMonitored() {
    try {
        return ClusterUtil::IsMonitorMode();
    } catch (const LumPalMsg::Exception_t&) {
        return true;
    }
}

void LogAsMonitor(const LumPalMsg::Message_t& message) {
    if (IsMonitored()) return LogEverywhere(message);
    LUMCONF_TRACE(trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
}

void LogEverywhere(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    LumPalLog::Log(message);
}

}  // namespace LumConfCluster
