#include "LumConfCluster/Cluster.h"

#include "ClusterImpl.h"
#include "ClusterProducts.h"
#include "ConfBase.h"
#include "Exceptions.h"
#include "Messages.h"
#include "Names.h"
#include "ThisSystem.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

ClusterImpl* Cluster::CreateClusterImpl() {
    const String_t configured = ConfBase::Get_NS_ConfCluster().Open().GetValue(names::ClusterTypeKey);
    const ClusterProduct& product = kClusterProducts[static_cast<std::size_t>(FindProduct(configured))];
    if (product.make) return product.make(product);
    const LumPalMsg::Message_t message = Make(msg::ClusterNotDetected);
    LUMCONF_TRACE(trace::Cluster, message);
    throw ClusterException(message);
}

Cluster::Cluster() : Handle(CreateClusterImpl()) {}

ClusterType Cluster::GetType() const {
    return GetImpl()->GetType();
}

String_t Cluster::GetName() const {
    return GetImpl()->GetName();
}

String_t Cluster::GetLocalNodeName() const {
    return GetImpl()->GetLocalNodeName();
}

ClusterState Cluster::GetState() const {
    return GetImpl()->GetState();
}

ClusterNodes Cluster::GetNodes() const {
    return GetImpl()->GetNodes();
}

ClusterResourceGroups Cluster::GetGroups() const {
    return GetImpl()->GetGroups();
}

ClusterNodes Cluster::GetGroupNodes(const String_t& groupName) const {
    return GetImpl()->GetGroupNodes(groupName);
}

String_t Cluster::GetVirtualIP(const String_t& groupName) const {
    return GetImpl()->GetVirtualIP(groupName);
}

}  // namespace LumConfCluster
