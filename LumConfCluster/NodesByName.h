/// @file
/// Finding nodes by their names.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "LumConfCluster/ClusterNodes.h"

namespace LumConfCluster {

/// The nodes of a cluster as one question sees them: they are asked for when the first is wanted, and once. A look-up
/// does not walk the list. One thread.
class NodesByName {
public:
    /// @param ask  may throw
    explicit NodesByName(std::function<ClusterNodes()> ask) : ask(std::move(ask)) {}
    /// The first one of this name, whatever its case. @throws LumConf::ClusterNoNodeException, and what asking throws
    ClusterNode operator[](const LumPalStr::String_t& name);

    /// The same; a node without a name when there is none.
    ClusterNode Find(const LumPalStr::String_t& name);

private:
    void Ask();

    std::function<ClusterNodes()> ask;
    std::optional<ClusterNodes> nodes;
    std::map<LumPalStr::String_t, ClusterNode> byName;  ///< in lower case
};

}  // namespace LumConfCluster
