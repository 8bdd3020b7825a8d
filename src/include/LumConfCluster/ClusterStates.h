/// @file
/// The states of a cluster, its nodes, its resource groups and the instances of applications.
#pragma once

#include <cstdint>

#include "Export.h"

namespace LumConfCluster {

/// Of the cluster, as seen from the local node.
enum class ClusterState : std::int32_t { Unknown, Up, Down };
enum class NodeState : std::int32_t { Unknown, Online, Offline };
/// Of a resource group in the cluster, and on the local node.
enum class RGState : std::int32_t { Unknown, Online, Offline };
enum class InstanceState : std::int32_t { Unknown, Online, Offline };
/// Carried along; no value has a meaning.
enum class NodeType : std::int32_t { Default };

/// What the tools print for a state; "Unknown" for a value that is none. Any thread.
LUMCONF_API const char* DisplayText(ClusterState state) noexcept;
LUMCONF_API const char* DisplayText(NodeState state) noexcept;
LUMCONF_API const char* DisplayText(RGState state) noexcept;
LUMCONF_API const char* DisplayText(InstanceState state) noexcept;

}  // namespace LumConfCluster
