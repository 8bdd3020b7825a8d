/// @file
/// A list of resource groups.
#pragma once

#include <cstdint>

#include "ClusterResourceGroup.h"
#include "Export.h"
#include "Handle.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class ClusterResourceGroupsImpl;

/// The resource groups in the order in which the product reports them. A handle: copies share the list.
class LUMCONF_API ClusterResourceGroups : public Handle<ClusterResourceGroupsImpl> {
public:
    /// An empty list.
    ClusterResourceGroups();
    using Handle::Handle;

    std::int32_t Count() const;
    /// @throws LumConf::ClusterNoGroupException for an index that is not there
    ClusterResourceGroup operator[](int index) const;
    /// The first one of this name, whatever its case. @throws LumConf::ClusterNoGroupException
    ClusterResourceGroup operator[](const LumPalStr::String_t& name) const;
};

}  // namespace LumConfCluster
