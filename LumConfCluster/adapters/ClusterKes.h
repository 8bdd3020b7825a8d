/// @file
/// Kestrel.
#pragma once

#include "ClusterImpl.h"
#include "NodesByName.h"

namespace LumConfCluster {

struct ClusterProduct;
struct KesResource;

/// Asks kes_get_info and kes_stat; a resource group is a resource that is an application. The configuration maps no
/// state of it.
class ClusterKes final : public ClusterImpl {
public:
    /// @throws LumConf::ClusterException KesNotMade
    explicit ClusterKes(const ClusterProduct& product);
    /// Always Up.
    ClusterState GetState() override;
    /// One bad record is the loss of all. @throws LumConf::ClusterException ClusterNodesNotRead
    ClusterNodes GetNodes() override;
    /// @throws LumConf::ClusterException ClusterGroupsNotRead
    ClusterResourceGroups GetGroups() override;
    /// @throws LumConf::ClusterException KesGroupNodesNotRead
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// Always empty: the product has no such address.
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    ClusterResourceGroup MakeGroup(const KesResource& resource, std::uint16_t id, NodesByName& nodes) const;

    LumPalStr::String_t localNodeName;
};

}  // namespace LumConfCluster
