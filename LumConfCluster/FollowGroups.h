/// @file
/// Policies follow the resource groups that they name.
#pragma once

#include <functional>

#include "LumConfCluster/ClusterResourceGroups.h"
#include "MonitorKeys.h"
#include "MonitorWarnings.h"
#include "PolicyContainer.h"
#include "PolicyOperation.h"

namespace LumConfCluster {

/// Lists what is installed.
using PolicyList = std::function<LumConf::PolicyContainer(LumConf::PolicyOperation& policies)>;

/// The list of the policy operations, in the name of the monitor.
/// @throws LumConf::NoPoliciesInstalledError NoPoliciesInstalled
LumConf::PolicyContainer ListInstalled(LumConf::PolicyOperation& policies);

/// Enables each installed policy that names a group which is online on this node ("HARG:<group>"), or none
/// ("HARG:noHARG"), and disables each that names others alone. A policy that names nothing is not touched, nor is one
/// whose status is right. What changes is queued for its consumers. May ask the name service, once for each node.
/// A list that ends in NoPoliciesInstalledError or PolicyNotFoundError is an empty one.
/// @throws LumPalMsg::Exception_t  what changing a policy ends in, unless it is a ConfException
void FollowGroups(const ClusterResourceGroups& groups, const LocalName& local, const PolicyList& list,
                  LumConf::PolicyOperation& policies, MonitorWarnings& warnings);

}  // namespace LumConfCluster
