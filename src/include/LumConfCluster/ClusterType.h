/// @file
/// The cluster products.
#pragma once

#include <cstdint>

#include "Export.h"
#include "LumPalStr.h"

namespace LumConfCluster {

enum class ClusterType : std::int32_t { Vcs, Sc, Plsd, Hacmp, Kes, Rhas, Mscs, Unknown, Pcmk };

/// The name of the product, which is also what CLUSTER_TYPE names it by; "Unknown" for a value that is none. Any
/// thread.
LUMCONF_API const char* DisplayText(ClusterType type) noexcept;
/// The file that marks the product on a Unix system; empty when there is none. Any thread.
LUMCONF_API const char* DaemonFile(ClusterType type) noexcept;
/// The file without which a machine that has the daemon's is no node of a cluster; empty where the daemon's alone
/// counts. Any thread.
LUMCONF_API const char* ConfigurationFile(ClusterType type) noexcept;
/// The product that a display name names, to the letter; Unknown for every other text. Any thread.
LUMCONF_API ClusterType NamedType(const LumPalStr::String_t& displayName);
/// The product whose files are there, on a Unix system; Unknown without one. No tool runs. Any thread.
LUMCONF_API ClusterType InstalledType();
/// The product whose daemon file is there without the other file that it takes, as far as this user sees; Unknown
/// without one. Any thread.
LUMCONF_API ClusterType UnconfiguredType();

}  // namespace LumConfCluster
