/// @file
/// What the handles of nodes refer to.
#pragma once

#include "ClusterCollectionImpl.h"
#include "LumConfCluster/ClusterNode.h"

namespace LumConfCluster {

/// What an adapter fills in right after making it; constant from then on.
class ClusterNodeImpl final : public LumPalRef::RefCounted_t {
public:
    static constexpr std::uint16_t kUnknownId = 65535;

    LumPalStr::String_t name;
    std::uint16_t id = 0;
    NodeState state = NodeState::Unknown;
    NodeType type = NodeType::Default;
    LumPalStr::String_t detail;
};

/// A node of which an adapter knows all that it can.
inline ClusterNode NodeOf(const LumPalStr::String_t& name, std::uint16_t id, NodeState state) {
    const ClusterNode node;
    node.GetImpl()->name = name;
    node.GetImpl()->id = id;
    node.GetImpl()->state = state;
    return node;
}

class ClusterNodesImpl final : public ClusterCollectionImpl<ClusterNode, LumConf::ClusterNoNodeException> {};

}  // namespace LumConfCluster
