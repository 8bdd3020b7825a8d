#include "LumConfCluster/ClusterResourceGroups.h"

#include "ClusterResourceGroupImpl.h"

namespace LumConfCluster {

ClusterResourceGroups::ClusterResourceGroups() : Handle(new ClusterResourceGroupsImpl) {}

std::int32_t ClusterResourceGroups::Count() const {
    return GetImpl()->Count();
}

ClusterResourceGroup ClusterResourceGroups::operator[](int index) const {
    return GetImpl()->At(index);
}

ClusterResourceGroup ClusterResourceGroups::operator[](const LumPalStr::String_t& name) const {
    return GetImpl()->At(name);
}

}  // namespace LumConfCluster
