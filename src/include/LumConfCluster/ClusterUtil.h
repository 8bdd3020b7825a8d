/// @file
/// Helpers of the cluster side.
#pragma once

#include "Export.h"

namespace LumConf {
class PolicyHeaderImpl;
}

namespace LumConfCluster {

/// Static members only. Any thread.
class LUMCONF_API ClusterUtil {
public:
    ClusterUtil() = delete;

    /// Fits the status of a policy that is being installed to the resource groups that its attributes name.
    /// In a process that has detected no cluster the header stays as it came.
    static void ChangeHeader(LumConf::PolicyHeaderImpl* header);
};

}  // namespace LumConfCluster
