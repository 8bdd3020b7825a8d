#include "LumConfCluster/Instance.h"

#include "HostNames.h"
#include "InstanceImpl.h"

namespace LumConfCluster {

using LumPalStr::String_t;

bool InstanceImpl::IsNameLocal() const {
    const String_t active = activeNode.GetName();
    return isLocalNameExact ? active == localHost : IsNameOfHost(active, localHost);
}

bool InstanceImpl::IsActiveNodeLocal() const {
    try {
        return state == InstanceState::Online && IsNameLocal();
    } catch (const LumPalMsg::RuntimeException_t& e) {
        LUMCONF_TRACE(LumConf::trace::Cluster, e.GetMessageList());
        return false;
    }
}

Instance::Instance() : Handle(new InstanceImpl) {}

String_t Instance::GetName() const {
    return GetImpl()->name;
}

InstanceState Instance::GetState() const {
    return GetImpl()->state;
}

ClusterResourceGroup Instance::GetResourceGroup() const {
    return GetImpl()->resourceGroup;
}

ClusterNode Instance::GetActiveNode() const {
    return GetImpl()->activeNode;
}

String_t Instance::GetLocalHost() const {
    return GetImpl()->localHost;
}

bool Instance::IsActiveNodeLocal() const {
    return GetImpl()->IsActiveNodeLocal();
}

bool Instance::IsNodeLocalResponsible() const {
    return GetImpl()->nodeLocalResponsible;
}

bool Instance::operator==(const Instance& other) const {
    return GetName() == other.GetName() && GetResourceGroup() == other.GetResourceGroup();
}

}  // namespace LumConfCluster
