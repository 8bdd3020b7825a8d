/// @file
/// One node of a cluster.
#pragma once

#include <cstdint>

#include "ClusterStates.h"
#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class ClusterNodeImpl;

/// A node as it was when the cluster was asked. A handle: copies share what never changes; any thread.
class LUMCONF_API ClusterNode : public Handle<ClusterNodeImpl> {
public:
    /// A node without a name, with id 0, of which nothing is known.
    ClusterNode();
    using Handle::Handle;

    LumPalStr::String_t GetName() const;
    /// 65535 while the product does not tell it.
    std::uint16_t GetId() const;
    NodeState GetState() const;
    NodeType GetType() const;
    /// What the product says of the node that its state does not tell, as "standby, maintenance"; empty for most.
    LumPalStr::String_t GetDetail() const;
    /// Whether name (its case too), id and state are equal.
    bool operator==(const ClusterNode& other) const;
};

}  // namespace LumConfCluster
