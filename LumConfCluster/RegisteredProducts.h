/// @file
/// The products that a registry tells of (Windows).
#pragma once

#include "LumConfCluster/ClusterType.h"
#include "LumPalRegistry.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// VERITAS where its key is, else Microsoft; Unknown when the configured one of these two is the other one. Any other
/// configured text decides nothing.
ClusterType FindRegistered(const LumPalStr::String_t& configured, LumPalRegistry::Registry_i& registry);

/// Where VERITAS Cluster Server is installed. @throws LumPalMsg::RuntimeException_t with the system's error number
LumPalStr::String_t VcsHome(LumPalRegistry::Registry_i& registry);

}  // namespace LumConfCluster
