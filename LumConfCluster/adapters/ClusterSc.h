/// @file
/// Sun Cluster.
#pragma once

#include "ClusterImpl.h"

namespace LumConfCluster {

struct ClusterProduct;

/// Asks scha_cluster_get, scha_resourcegroup_get and scha_resource_get.
class ClusterSc final : public ClusterImpl {
public:
    /// @throws LumConf::ClusterException ScNotMade
    explicit ClusterSc(const ClusterProduct& product);
    /// @throws LumConf::ClusterException ClusterLocalStateNotRead
    ClusterState GetState() override;
    /// A node of which id or state cannot be had is left out. @throws LumConf::ClusterException ScNodesNotRead
    ClusterNodes GetNodes() override;
    /// A group of which something cannot be had stays, without it. @throws LumConf::ClusterException ScGroupsNotRead
    ClusterResourceGroups GetGroups() override;
    /// A node of which id or state cannot be had is left out; the application log has the warning ScNodeNotRead then.
    /// @throws LumConf::ClusterException ScGroupNodesNotRead
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// The first address of its first resource that is a logical host name. @throws LumConf::ClusterException
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    ClusterNode MakeNode(const LumPalStr::String_t& name) const;
    ClusterResourceGroup MakeGroup(const LumPalStr::String_t& name, std::uint16_t id);
    void FindActiveNode(ClusterResourceGroupImpl& group);
    void ReadStateOn(const ClusterNode& node, ClusterResourceGroupImpl& group);
    bool IsHostName(const LumPalStr::String_t& resource) const;

    LumPalStr::String_t localNodeName;
};

}  // namespace LumConfCluster
