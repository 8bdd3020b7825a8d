/// @file
/// Failures that are traced, or logged too.
#pragma once

#include "Exceptions.h"
#include "LumPalDaemon.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "Trace.h"

namespace LumConfCluster {

/// Traces the message of the row, and throws it as ClusterException.
template <unsigned Holes, class... Args>
[[noreturn]] void TraceAndRaise(const LumConf::MessageOf<Holes>& row, const Args&... args) {
    const LumPalMsg::Message_t message = LumConf::Make(row, args...);
    LUMCONF_TRACE(LumConf::trace::Cluster, message);
    throw LumConf::ClusterException(message);
}

/// Traces and logs the message of the row, and throws it as ClusterException. Not logged in a process that is stopping:
/// it has ended its tools itself.
template <unsigned Holes, class... Args>
[[noreturn]] void LogAndRaise(const LumConf::MessageOf<Holes>& row, const Args&... args) {
    const LumPalMsg::Message_t message = LumConf::Make(row, args...);
    LUMCONF_TRACE(LumConf::trace::Cluster, message);
    if (!LumPalRuntime::IsStopping()) LumPalLog::Log(message);
    throw LumConf::ClusterException(message);
}

}  // namespace LumConfCluster
