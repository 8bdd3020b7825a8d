#include "LumConfCluster/ClusterNode.h"

#include "ClusterNodeImpl.h"

namespace LumConfCluster {

ClusterNode::ClusterNode() : Handle(new ClusterNodeImpl) {}

LumPalStr::String_t ClusterNode::GetName() const {
    return GetImpl()->name;
}

std::uint16_t ClusterNode::GetId() const {
    return GetImpl()->id;
}

NodeState ClusterNode::GetState() const {
    return GetImpl()->state;
}

NodeType ClusterNode::GetType() const {
    return GetImpl()->type;
}

LumPalStr::String_t ClusterNode::GetDetail() const {
    return GetImpl()->detail;
}

bool ClusterNode::operator==(const ClusterNode& other) const {
    return GetName() == other.GetName() && GetId() == other.GetId() && GetState() == other.GetState();
}

}  // namespace LumConfCluster
