/// @file
/// The cluster product of this machine, as files tell it.
#pragma once

#include <optional>

#include "LumConfCluster/ClusterType.h"

namespace lumtools {

/// The first product whose files are there. No tool runs.
std::optional<LumConfCluster::ClusterType> FindClusterProduct();

/// A product that is installed, and of which this user sees no cluster.
struct UnconfiguredProduct {
    LumConfCluster::ClusterType type;
    bool isHidden;  ///< this user may not look where the cluster's configuration would be
};

/// The first product whose daemon file is there without its configuration.
std::optional<UnconfiguredProduct> FindUnconfiguredProduct();

}  // namespace lumtools
