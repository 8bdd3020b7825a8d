/// @file
/// Pacemaker.
#pragma once

#include "ClusterImpl.h"
#include "NodesByName.h"
#include "PcmkCib.h"
#include "PcmkHistory.h"
#include "PcmkOutput.h"
#include "PcmkStates.h"

namespace LumConfCluster {

struct ClusterProduct;

/// Asks crm_mon for what runs where, and cibadmin for what is configured: each once for a question. Where something
/// that should run is told to run nowhere, and has been found since, both are asked once more (PcmkHistory).
class ClusterPcmk final : public ClusterImpl {
public:
    /// @throws LumConf::ClusterException PcmkNotMade
    explicit ClusterPcmk(const ClusterProduct& product);
    /// What crm_node told: the cluster need not call a node as its host is called.
    LumPalStr::String_t GetLocalNodeName() const override;
    /// Up when this node is on line and its partition has quorum; Unknown for a node that is unclean, still joins, or
    /// is none of the cluster's, and while nobody controls the cluster.
    /// @throws LumConf::ClusterException ClusterLocalStateNotRead
    ClusterState GetState() override;
    /// @throws LumConf::ClusterException ClusterNodesNotRead
    ClusterNodes GetNodes() override;
    /// @throws LumConf::ClusterException ClusterGroupsNotRead
    ClusterResourceGroups GetGroups() override;
    /// None for a group that the cluster does not have. @throws LumConf::ClusterException PcmkGroupNodesNotRead
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// @throws LumConf::ClusterException PcmkAddressNotRead
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    class Configured;
    class Look;
    /// Without the resources that are told of by their nodes alone, where nobody asks for them.
    PcmkSight See() const;
    PcmkSight SeeResources(Configured& configured) const;
    XmlDataTree ReadCib() const;
    ClusterResourceGroups GroupsOf(Look& look);
    void MarkDoubtful(const ClusterResourceGroup& group, const PcmkDoubt& doubt);
    ClusterResourceGroup MakeGroup(const PcmkResource& resource, std::uint16_t id, const PcmkStates& states,
                                   NodesByName& nodes);
    static void AddAddresses(const ClusterResourceGroups& groups, const PcmkSight& sight, Configured& configured);

    LumPalStr::String_t localNodeName;
};

}  // namespace LumConfCluster
