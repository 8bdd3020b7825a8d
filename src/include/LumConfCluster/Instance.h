/// @file
/// One running copy of an application.
#pragma once

#include "ClusterNode.h"
#include "ClusterResourceGroup.h"
#include "ClusterStates.h"
#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class InstanceImpl;

/// A copy of an application that one resource group carries, as it was when the configuration was loaded. A handle:
/// copies share what never changes; any thread (but see ClusterResourceGroup for its address).
class LUMCONF_API Instance : public Handle<InstanceImpl> {
public:
    /// An instance without a name, of which nothing is known, on the node as "conf.cluster" names it.
    Instance();
    using Handle::Handle;

    LumPalStr::String_t GetName() const;
    InstanceState GetState() const;
    ClusterResourceGroup GetResourceGroup() const;
    ClusterNode GetActiveNode() const;
    /// The name of this node: CLUSTER_LOCAL_NODENAME of "conf.cluster"; where that is empty, the name that the
    /// cluster's product tells (of an instance that was loaded), else the system's own.
    LumPalStr::String_t GetLocalHost() const;
    /// Whether the instance is online, and on this node by its name. May ask the name service and block meanwhile; a
    /// name that cannot be resolved is not this node's.
    bool IsActiveNodeLocal() const;
    /// False: nothing sets it.
    bool IsNodeLocalResponsible() const;
    /// Whether name (its case too) and resource group are equal.
    bool operator==(const Instance& other) const;
};

}  // namespace LumConfCluster
