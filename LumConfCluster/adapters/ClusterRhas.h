/// @file
/// Red Hat Advanced Server.
#pragma once

#include "ClusterImpl.h"
#include "LumConfCluster/XmlDataTree.h"
#include "RhasOutput.h"

namespace LumConfCluster {

struct ClusterProduct;

/// Asks the tools of the release that the system is of: cluadmin below 3, clustat and redhat-config-cluster-cmd on 3,
/// clustat and cman_tool on 4 and 5. What these do not tell stands in the cluster's configuration file.
class ClusterRhas final : public ClusterImpl {
public:
    /// @throws LumConf::ClusterException RhasNotMade
    explicit ClusterRhas(const ClusterProduct& product);
    /// Up when any member is. @throws LumConf::ClusterException RhasStateNotRead; RhasStateFailed for what is no
    /// failure of ours
    ClusterState GetState() override;
    /// @throws LumConf::ClusterException ClusterNodesNotRead; RhasNodesFailed for what is no failure of ours
    ClusterNodes GetNodes() override;
    /// Up to release 3 nobody tells where a group runs. @throws LumConf::ClusterException ClusterGroupsNotRead;
    /// RhasGroupsFailed likewise
    ClusterResourceGroups GetGroups() override;
    /// On release 5 the nodes of the group's failover domain, on others all of them.
    /// @throws LumConf::ClusterException
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// @throws LumConf::ClusterException; RhasConfDoesNotExist when the configuration file is gone
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    void ReadRelease();
    void FillTools();
    LumPalStr::String_t AskName();
    void LoadConfiguration();
    std::vector<RhasMember> Members() const;
    std::vector<RhasService> Services() const;
    ClusterResourceGroup MakeGroup(const RhasService& service, std::uint16_t id);
    bool IsUnknown(const LumPalStr::String_t& group) const;
    ClusterNodes NodesOfDomain(const LumPalStr::String_t& group);
    LumPalStr::String_t ConfiguredAddress(const LumPalStr::String_t& group) const;

    std::int32_t rhelVersion = 0;
    RhasGeneration generation = RhasGeneration::Below3;
    const char* configurationFile = "";
    LumPalStr::String_t localNodeName;
    XmlDataTree clusterConf;
};

}  // namespace LumConfCluster
