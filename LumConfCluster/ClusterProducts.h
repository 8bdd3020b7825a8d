/// @file
/// The table of the cluster products.
#pragma once

#include <functional>
#include <span>

#include "LumConfCluster/ClusterType.h"
#include "LumPalStr.h"

namespace LumConfCluster {

class ClusterImpl;

/// One product: a new one is a row here and a pair of files in adapters/.
struct ClusterProduct {
    ClusterType type;
    const char* displayName;
    const char* daemonFile;         ///< empty: no file marks it
    const char* configurationFile;  ///< must be there too; empty: the daemon's alone counts
    const char* stateSuffix;        ///< of the namespace that maps its states of groups; empty: there is none
    /// Makes the adapter for the daemon file; may throw ClusterException. Null: no adapter is built.
    ClusterImpl* (*make)(const ClusterProduct& product);
};

/// By their numbers.
extern const std::span<const ClusterProduct> kClusterProducts;

/// What the node belongs to when the product that is found decides, unless the configured one contradicts.
/// @param configured  the value of CLUSTER_TYPE: any text
/// @param found       Unknown when nothing was found
/// @return            Unknown when nothing was found, or another product than the configured one
ClusterType Agreed(const LumPalStr::String_t& configured, ClusterType found);

/// The first product in the order of the table whose files are there.
ClusterType FirstInstalled(const std::function<bool(const char*)>& exists);

}  // namespace LumConfCluster
