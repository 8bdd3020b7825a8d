/// @file
/// Constants of the cluster tools, and whether a cluster was detected.
#pragma once

#include <cstdint>

#include "Export.h"

namespace LumConfCluster {

/// Static members only. Any thread.
class LUMCONF_API ClusterBase {
public:
    ClusterBase() = delete;

    static const char* Get_component_id();
    /// Columns of a line of console output.
    static std::int32_t Get_maxLine();
    /// Columns before the text of console output.
    static std::int32_t Get_msgIndent();
    static const char* Get_lumclusterinfo_cli();
    static const char* Get_lumappinstance_cli();
    /// Whether the monitor of this process has seen a cluster; false until then.
    static bool GetClusterEnvDetected();
    static void SetClusterEnvDetected(bool detected);
};

}  // namespace LumConfCluster
