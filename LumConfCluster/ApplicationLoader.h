/// @file
/// The way from the configuration files to applications.
#pragma once

#include "ApplicationImpl.h"
#include "LumConfCluster/Cluster.h"

namespace LumConfCluster {

/// See Applications::LoadConfig.
void LoadAPMConfig(ApplicationsImpl& applications, const Cluster& cluster, const ClusterResourceGroups& groups);

}  // namespace LumConfCluster
