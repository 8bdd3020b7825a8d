/// @file
/// Which node of the cluster this one is.
#pragma once

#include <map>
#include <memory>
#include <optional>

#include "LumPalConfig.h"
#include "LumPalNet.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class Cluster;

/// This node's name, as "conf.cluster" had it when this was made.
struct LocalName {
    /// CLUSTER_LOCAL_NODENAME, or the system's own name where it is empty.
    static LocalName Read();
    /// Likewise, of the namespace as it is open.
    static LocalName In(const LumPalConfig::Configuration_t& keys);

    /// This one where it is configured, or the cluster's product tells none; else that.
    LocalName OrToldBy(const Cluster& cluster) const;

    LumPalStr::String_t name;
    bool isExact = false;  ///< nodes are held against it to the letter; else their hosts are
};

/// Tells nodes of the cluster that are this one by their addresses. Each name is resolved once. One thread.
class LocalAddress {
public:
    explicit LocalAddress(const LumPalStr::String_t& localName) : localName(localName) {}
    /// Whether the node and this one are the same machine; not if one of the names is empty or cannot be resolved.
    /// Asks the name service, and blocks meanwhile.
    bool IsOf(const LumPalStr::String_t& node);

private:
    bool IsSame(const LumPalStr::String_t& node);

    LumPalStr::String_t localName;
    bool isAsked = false;
    std::optional<LumPalNet::InetAddress_t> local;
    std::map<LumPalStr::String_t, bool> known;
};

}  // namespace LumConfCluster
