#include "LumConfCluster/ClusterNodes.h"

#include "ClusterNodeImpl.h"

namespace LumConfCluster {

ClusterNodes::ClusterNodes() : Handle(new ClusterNodesImpl) {}

std::int32_t ClusterNodes::Count() const {
    return GetImpl()->Count();
}

ClusterNode ClusterNodes::operator[](int index) const {
    return GetImpl()->At(index);
}

ClusterNode ClusterNodes::operator[](const LumPalStr::String_t& name) const {
    return GetImpl()->At(name);
}

}  // namespace LumConfCluster
