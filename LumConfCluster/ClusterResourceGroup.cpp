#include "LumConfCluster/ClusterResourceGroup.h"

#include "ClusterResourceGroupImpl.h"
#include "LumConfCluster/Cluster.h"

namespace LumConfCluster {

using LumPalStr::String_t;

String_t ClusterResourceGroupImpl::GetVirtualIP() {
    if (virtualIPKnown < 0) {
        virtualIP = Cluster().GetVirtualIP(name);
        virtualIPKnown = virtualIP.IsNotNull() ? 1 : 0;
    }
    return virtualIP;
}

ClusterResourceGroup::ClusterResourceGroup() : Handle(new ClusterResourceGroupImpl) {}

String_t ClusterResourceGroup::GetName() const {
    return GetImpl()->name;
}

std::uint16_t ClusterResourceGroup::GetId() const {
    return GetImpl()->id;
}

RGState ClusterResourceGroup::GetState() const {
    return GetImpl()->state;
}

RGState ClusterResourceGroup::GetLocalState() const {
    return GetImpl()->localState;
}

String_t ClusterResourceGroup::GetDetail() const {
    return GetImpl()->detail;
}

bool ClusterResourceGroup::IsSettled() const {
    return GetImpl()->mayBeOn.empty();
}

bool ClusterResourceGroup::IsEverywhere() const {
    return GetImpl()->isEverywhere;
}

String_t ClusterResourceGroup::GetVirtualIP() const {
    return GetImpl()->GetVirtualIP();
}

bool ClusterResourceGroup::IsVirtualIPKnown() const {
    return GetImpl()->virtualIPKnown >= 0;
}

ClusterNode ClusterResourceGroup::GetActiveNode() const {
    return GetImpl()->activeNode;
}

bool ClusterResourceGroup::operator==(const ClusterResourceGroup& other) const {
    return GetName() == other.GetName() && GetId() == other.GetId();
}

}  // namespace LumConfCluster
