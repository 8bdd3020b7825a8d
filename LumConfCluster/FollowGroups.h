/// @file
/// Policies follow the resource groups that they name.
#pragma once

#include "LumConfCluster/ClusterResourceGroups.h"
#include "MonitorKeys.h"
#include "MonitorWarnings.h"
#include "PolicyOperation.h"

namespace LumConfCluster {

/// Enables each installed policy that names a group which is online on this node ("HARG:<group>"), or none
/// ("HARG:noHARG"), and disables each that names others alone. A policy that names nothing is not touched, nor is one
/// whose status is right. What changes is queued for its consumers. May ask the name service, once for each node.
/// @throws LumPalMsg::Exception_t  what changing a policy ends in, unless it is a ConfException
void FollowGroups(const ClusterResourceGroups& groups, const LocalName& local, LumConf::PolicyOperation& policies,
                  MonitorWarnings& warnings);

}  // namespace LumConfCluster
