/// @file
/// What the handles of resource groups refer to.
#pragma once

#include <vector>

#include "ClusterCollectionImpl.h"
#include "LumConfCluster/ClusterResourceGroup.h"

namespace LumConfCluster {

/// What an adapter fills in right after making it; constant from then on, but for the address.
class ClusterResourceGroupImpl final : public LumPalRef::RefCounted_t {
public:
    /// See ClusterResourceGroup::GetVirtualIP.
    LumPalStr::String_t GetVirtualIP();

    LumPalStr::String_t name;
    std::uint16_t id = 0;
    RGState state = RGState::Unknown;
    RGState localState = RGState::Unknown;
    LumPalStr::String_t detail;
    bool isEverywhere = false;
    std::vector<LumPalStr::String_t> mayBeOn;  ///< the names of nodes; empty: where it runs is known
    LumPalStr::String_t virtualIP;
    ClusterNode activeNode;
    std::int32_t virtualIPKnown = -1;  ///< below 0: not fetched yet; 0: a null text was fetched; 1: virtualIP is valid
};

class ClusterResourceGroupsImpl final
    : public ClusterCollectionImpl<ClusterResourceGroup, LumConf::ClusterNoGroupException> {};

}  // namespace LumConfCluster
