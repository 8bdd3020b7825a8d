/// @file
/// Logging the failures of the monitor.
#pragma once

#include "LumPalMsg.h"

namespace LumConfCluster {

/// Whether this node is monitored, as the application log is to have it: also where the configuration cannot be read.
bool IsMonitored();
/// Traces the message, and writes it to the application log where this node is monitored. Does not throw but for
/// memory.
void LogAsMonitor(const LumPalMsg::Message_t& message);
/// Likewise, on every node.
void LogEverywhere(const LumPalMsg::Message_t& message);

}  // namespace LumConfCluster
