/// @file
/// The cluster that this node belongs to.
#pragma once

#include "ClusterNodes.h"
#include "ClusterResourceGroups.h"
#include "ClusterStates.h"
#include "ClusterType.h"
#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class ClusterImpl;

/// The cluster as the product's own tools tell it. A handle: copies share. Every question runs tools of the product and
/// blocks until they end (see docs/clusters.md); answers are snapshots: ask again to see what has changed.
/// One thread at a time uses a cluster; each thread makes its own.
class LUMCONF_API Cluster : public Handle<ClusterImpl> {
public:
    /// Finds the product and asks it for the cluster's name.
    /// @throws LumConf::ClusterException 211 when this node belongs to no cluster, or to another product's than
    ///         CLUSTER_TYPE says; what the product's own side throws when its tools fail (VERITAS: 336)
    Cluster();
    using Handle::Handle;

    ClusterType GetType() const;
    LumPalStr::String_t GetName() const;
    /// What the product itself calls this node, where it tells that and CLUSTER_LOCAL_NODENAME does not; else empty:
    /// the system's own name counts.
    LumPalStr::String_t GetLocalNodeName() const;
    /// Whether the cluster runs on this node. @throws LumConf::ClusterException 236
    ClusterState GetState() const;
    /// All nodes. @throws LumConf::ClusterException (VERITAS: 338)
    ClusterNodes GetNodes() const;
    /// All resource groups. @throws LumConf::ClusterException (VERITAS: 345)
    ClusterResourceGroups GetGroups() const;
    /// The nodes on which the group may run. @throws LumConf::ClusterException
    ClusterNodes GetGroupNodes(const LumPalStr::String_t& groupName) const;
    /// The group's virtual IP address; empty when it has none. @throws LumConf::ClusterException
    LumPalStr::String_t GetVirtualIP(const LumPalStr::String_t& groupName) const;

private:
    /// A new object for the product that is found.
    static ClusterImpl* CreateClusterImpl();
};

}  // namespace LumConfCluster
