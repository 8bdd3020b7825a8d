/// @file
/// Microsoft Cluster Server.
#pragma once

#include <memory>
#include <vector>

#include "ClusterImpl.h"
#include "MscsCalls.h"
#include "MscsLibraries.h"

namespace LumConfCluster {

struct ClusterProduct;

/// Asks the API of the cluster that this system belongs to; it runs no tool. All failures are
/// LumConf::ClusterException, and traced.
class ClusterMscs final : public ClusterImpl {
public:
    /// @param system  outlives the adapter. @throws MscsNoMemory, MscsNameNotRead, MscsClusapiNotLoaded, MscsNotOpened,
    /// MscsNotReleased, MscsNotInClusapi, MscsNotInResutils
    ClusterMscs(const ClusterProduct& product, LumPalMscs::System_i& system);
    /// Up when the cluster can be opened, else Down.
    ClusterState GetState() override;
    /// Their names are in lower case.
    ClusterNodes GetNodes() override;
    ClusterResourceGroups GetGroups() override;
    /// The nodes on which every resource of the group may run.
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// The address of its last resource of the type "IP Address"; empty without one.
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    MscsHandle OpenCluster() const;
    /// @throws LumConf::ClusterException MscsNotReleased
    void Close(MscsHandle& cluster) const;
    MscsHandle OpenNode(LumPalMscs::Handle_t cluster, const LumPalStr::String_t& node) const;
    MscsHandle OpenGroup(LumPalMscs::Handle_t cluster, const LumPalStr::String_t& group) const;
    MscsHandle OpenResource(LumPalMscs::Handle_t cluster, const LumPalStr::String_t& resource) const;
    LumPalStr::String_t ReadName(LumPalMscs::Handle_t cluster) const;
    LumPalStr::String_t LocalName() const;
    ClusterNode MakeNode(LumPalMscs::Handle_t cluster, const LumPalStr::String_t& node) const;
    ClusterNodes MakeNodes(LumPalMscs::Handle_t cluster, const std::vector<LumPalStr::String_t>& names) const;
    ClusterResourceGroup MakeGroup(LumPalMscs::Handle_t cluster, const LumPalStr::String_t& name, std::uint16_t id,
                                   const LumPalStr::String_t& local);
    RGState StateOf(std::int32_t state);
    LumPalStr::String_t AddressOf(LumPalMscs::Handle_t cluster, const LumPalStr::String_t& resource) const;

    LumPalMscs::System_i& system;
    MscsLibraries libraries;
    std::unique_ptr<LumPalMscs::Api_i> api;
    std::unique_ptr<MscsCalls> calls;
};

/// The adapter on this system. @throws LumConf::ClusterException, always where the system is not Windows
ClusterImpl* MakeMscs(const ClusterProduct& product);

}  // namespace LumConfCluster
