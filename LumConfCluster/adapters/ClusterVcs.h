/// @file
/// VERITAS Cluster Server.
#pragma once

#include <vector>

#include "ClusterImpl.h"

namespace LumConfCluster {

struct ClusterProduct;

/// Asks haclus, hasys, hagrp and hares.
class ClusterVcs final : public ClusterImpl {
public:
    /// @throws LumConf::ClusterException VcsNotMade
    explicit ClusterVcs(const ClusterProduct& product);
    /// @throws LumConf::ClusterException ClusterLocalStateNotRead
    ClusterState GetState() override;
    /// A system of which id or state cannot be had stays, with the id 65535 or the state Unknown.
    /// @throws LumConf::ClusterException VcsNodesNotRead
    ClusterNodes GetNodes() override;
    /// A group of which something cannot be had stays, without it. @throws LumConf::ClusterException VcsGroupsNotRead
    ClusterResourceGroups GetGroups() override;
    /// @throws LumConf::ClusterException
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// The address of its first resource of the type IP. @throws LumConf::ClusterException
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    ClusterNode MakeNode(const LumPalStr::String_t& line) const;
    ClusterResourceGroup MakeGroup(const LumPalStr::String_t& name, std::uint16_t id);
    void ReadLocalState(ClusterResourceGroupImpl& group);
    void ReadGlobalState(ClusterResourceGroupImpl& group);
    void FindActiveNode(ClusterResourceGroupImpl& group);
    RGState StateOn(const LumPalStr::String_t& group, const LumPalStr::String_t& system);

    LumPalStr::String_t localNodeName;
};

}  // namespace LumConfCluster
