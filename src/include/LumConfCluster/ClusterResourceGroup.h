/// @file
/// One resource group of a cluster.
#pragma once

#include <cstdint>

#include "ClusterNode.h"
#include "ClusterStates.h"
#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class ClusterResourceGroupImpl;

/// A resource group as it was when the cluster was asked; only its address is fetched when it is wanted.
/// A handle: copies share, also the address that one of them has fetched. Not for two threads at a time.
class LUMCONF_API ClusterResourceGroup : public Handle<ClusterResourceGroupImpl> {
public:
    /// A group without a name, with id 0, of which nothing is known.
    ClusterResourceGroup();
    using Handle::Handle;

    LumPalStr::String_t GetName() const;
    std::uint16_t GetId() const;
    /// In the cluster.
    RGState GetState() const;
    /// On this node.
    RGState GetLocalState() const;
    /// What the product says of the group that its state does not tell, as "Unmanaged"; empty for most.
    LumPalStr::String_t GetDetail() const;
    /// Whether its copies run on several nodes at a time, none before the others. Such a group has no active node, so
    /// that nothing follows it.
    bool IsEverywhere() const;
    /// Whether the product knows where the group runs. While it has yet to look for it on some nodes, or tells several,
    /// a monitor takes a group that it last saw online on one of these as it was, for a minute at most, whatever its
    /// state.
    bool IsSettled() const;
    /// The virtual IP address; empty when there is none. The first call that succeeds makes a Cluster and asks it, all
    /// later ones give the same answer. @throws as Cluster; the next call tries again
    LumPalStr::String_t GetVirtualIP() const;
    /// Whether GetVirtualIP answers without asking the cluster.
    bool IsVirtualIPKnown() const;
    /// The node on which the group is online; a node without a name when there is none.
    ClusterNode GetActiveNode() const;
    /// Whether name (its case too) and id are equal; the states may differ.
    bool operator==(const ClusterResourceGroup& other) const;
};

}  // namespace LumConfCluster
