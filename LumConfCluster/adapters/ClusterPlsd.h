/// @file
/// Palisade.
#pragma once

#include "ClusterImpl.h"

namespace LumConfCluster {

struct ClusterProduct;
struct PlsdPackage;

/// Asks plsview and plsconf; a resource group is a package of the product.
class ClusterPlsd final : public ClusterImpl {
public:
    /// @throws LumConf::ClusterException PlsdNotMade
    explicit ClusterPlsd(const ClusterProduct& product);
    /// @throws LumConf::ClusterException ClusterLocalStateNotRead
    ClusterState GetState() override;
    /// @throws LumConf::ClusterException PlsdNodesNotRead
    ClusterNodes GetNodes() override;
    /// @throws LumConf::ClusterException PlsdGroupsNotRead
    ClusterResourceGroups GetGroups() override;
    /// @throws LumConf::ClusterException PlsdGroupNodesNotRead
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// The first address that the package's script sets; empty also when the script cannot be read.
    /// @throws LumConf::ClusterException
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    ClusterResourceGroup MakeGroup(const PlsdPackage& package, std::uint16_t id);
    void SetOwner(ClusterResourceGroupImpl& group, const ClusterNodes& nodes, const PlsdPackage& package) const;
    void FindHere(ClusterResourceGroupImpl& group, const ClusterNodes& nodes) const;

    LumPalStr::String_t localNodeName;
};

}  // namespace LumConfCluster
