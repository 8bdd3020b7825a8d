/// @file
/// AIX HACMP.
#pragma once

#include "ClusterImpl.h"

namespace LumConfCluster {

struct ClusterProduct;
class NodesByName;
struct HacmpGroupLine;

/// Asks clstat, clRGinfo and clgetip.
class ClusterHacmp final : public ClusterImpl {
public:
    /// @throws LumConf::ClusterException HacmpNotMade
    explicit ClusterHacmp(const ClusterProduct& product);
    /// @throws LumConf::ClusterException ClusterLocalStateNotRead
    ClusterState GetState() override;
    /// @throws LumConf::ClusterException HacmpNodesNotRead
    ClusterNodes GetNodes() override;
    /// Lines of one group stand behind each other; a product that tells of no group has one without a name.
    /// @throws LumConf::ClusterException HacmpGroupsNotRead; also for a group that is online on a node that is not
    /// there
    ClusterResourceGroups GetGroups() override;
    /// @throws LumConf::ClusterException HacmpGroupNodesNotRead; also for a node that is not there
    ClusterNodes GetGroupNodes(LumPalStr::String_t group) override;
    /// Empty, too, when it cannot be had.
    LumPalStr::String_t GetVirtualIP(LumPalStr::String_t group) override;

private:
    void TakeOver(const HacmpGroupLine& line, bool isFirst, ClusterResourceGroupImpl& group, NodesByName& nodes);

    LumPalStr::String_t localNodeName;
};

}  // namespace LumConfCluster
