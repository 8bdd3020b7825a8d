#include "LocalNode.h"

#include "ConfBase.h"
#include "LumConfCluster/Cluster.h"
#include "Names.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalNet::InetAddress_t;
using LumPalStr::String_t;

namespace {

/// Nothing for a name without an address: a node whose name nobody knows is no reason to fail.
std::optional<InetAddress_t> AddressOf(const String_t& name) {
    if (name.IsEmpty()) return {};
    try {
        return InetAddress_t(name);
    } catch (const LumPalNet::ConnectException_t& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
        return {};
    }
}

}  // namespace

LocalName LocalName::Read() {
    return In(ConfBase::Get_NS_ConfCluster().Open());
}

LocalName LocalName::In(const LumPalConfig::Configuration_t& keys) {
    const String_t configured = keys.GetValue(names::ClusterLocalNodenameKey);
    if (configured.IsNotEmpty()) return {configured, true};
    return {InetAddress_t::GetLocalHost().GetHostName(), false};
}

LocalName LocalName::OrToldBy(const Cluster& cluster) const {
    const String_t told = isExact ? String_t() : cluster.GetLocalNodeName();
    return told.IsEmpty() ? *this : LocalName{told, true};
}

bool LocalAddress::IsOf(const String_t& node) {
    const auto [entry, isNew] = known.try_emplace(node, false);
    if (isNew) entry->second = IsSame(node);
    return entry->second;
}

bool LocalAddress::IsSame(const String_t& node) {
    const std::optional<InetAddress_t> other = AddressOf(node);
    if (!other) return false;
    if (!isAsked) local = AddressOf(localName);
    isAsked = true;
    return local && *local == *other;
}

}  // namespace LumConfCluster
