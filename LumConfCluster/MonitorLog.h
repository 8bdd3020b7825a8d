/// @file
/// What the monitor says of its failures.
#pragma once

#include "LumPalMsg.h"

namespace LumConfCluster {

/// Traces the message, and writes it to the application log where this node is monitored. Does not throw but for
/// memory.
void TellAsMonitor(const LumPalMsg::Message_t& message);
/// Likewise, on every node.
void TellEverywhere(const LumPalMsg::Message_t& message);

}  // namespace LumConfCluster
