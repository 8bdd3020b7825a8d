/// @file
/// The cluster product of this machine, as files tell it.
#pragma once

#include <optional>

#include "LumConfCluster/ClusterType.h"

namespace lumtools {

/// The first product whose daemon file is there. No tool runs.
std::optional<LumConfCluster::ClusterType> FindClusterProduct();

}  // namespace lumtools
