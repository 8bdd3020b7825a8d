/// @file
/// The cluster products.
#pragma once

#include <cstdint>

#include "Export.h"

namespace LumConfCluster {

enum class ClusterType : std::int32_t { Vcs, Sc, Plsd, Hacmp, Kes, Rhas, Mscs, Unknown };

/// The name of the product, which is also what CLUSTER_TYPE names it by; "Unknown" for a value that is none. Any
/// thread.
LUMCONF_API const char* DisplayText(ClusterType type) noexcept;
/// The file that marks the product on a Unix system; empty when there is none. Any thread.
LUMCONF_API const char* DaemonFile(ClusterType type) noexcept;

}  // namespace LumConfCluster
