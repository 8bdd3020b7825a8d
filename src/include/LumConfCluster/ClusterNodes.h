/// @file
/// A list of nodes.
#pragma once

#include <cstdint>

#include "ClusterNode.h"
#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class ClusterNodesImpl;

/// The nodes in the order in which the product reports them. A handle: copies share the list.
class LUMCONF_API ClusterNodes : public Handle<ClusterNodesImpl> {
public:
    /// An empty list.
    ClusterNodes();
    using Handle::Handle;

    std::int32_t Count() const;
    /// @throws LumConf::ClusterNoNodeException for an index that is not there
    ClusterNode operator[](int index) const;
    /// The first one of this name, whatever its case. @throws LumConf::ClusterNoNodeException
    ClusterNode operator[](const LumPalStr::String_t& name) const;
};

}  // namespace LumConfCluster
