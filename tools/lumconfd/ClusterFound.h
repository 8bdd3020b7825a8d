/// @file
/// What is said of the cluster product of this machine, and the settings that following it needs.
#pragma once

#include "LumConfCluster/ClusterType.h"

namespace lumconfd {

/// Says in the application log which product is followed, and warns when CLUSTER_TYPE names another one.
void SayWhichIsFollowed(LumConfCluster::ClusterType product);

/// Warns in the application log when a product is installed, and this user may not see whether it has a cluster.
void SayWhatIsHidden();

/// Sets what is empty of CLUSTER_TYPE, POLLING_INTERVAL and MONITOR_MODE in the local settings of the node, and says
/// so. Every other text stays. Otherwise the monitor would ask the node for it over TLS, and a fresh one has no
/// certificate.
/// @throws LumPalIo::IOException_t, LumPalCfgFile::SyntaxException_t
void FillEmptyClusterKeys(LumConfCluster::ClusterType product);

}  // namespace lumconfd
