#include "HostNames.h"

#include <map>
#include <memory>
#include <optional>

#include "LumPalNet.h"
#include "Trace.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

using HostName = std::optional<String_t>;

thread_local std::unique_ptr<std::map<String_t, HostName>> known;

HostName Asked(const String_t& node) {
    try {
        return LumPalNet::InetAddress_t(node).GetHostName();
    } catch (const LumPalMsg::RuntimeException_t& e) {
        LUMCONF_TRACE(LumConf::trace::Cluster, e.GetMessageList());
        return {};
    }
}

HostName HostNameOf(const String_t& node) {
    if (!known) return Asked(node);
    auto found = known->find(node);
    if (found == known->end()) found = known->emplace(node, Asked(node)).first;
    return found->second;
}

}  // namespace

bool IsNameOfHost(const String_t& node, const String_t& host) {
    return HostNameOf(node) == host;
}

HostNamesOnce::HostNamesOnce() : isOutermost(!known) {
    if (isOutermost) known = std::make_unique<std::map<String_t, HostName>>();
}

HostNamesOnce::~HostNamesOnce() {
    if (isOutermost) known.reset();
}

}  // namespace LumConfCluster
