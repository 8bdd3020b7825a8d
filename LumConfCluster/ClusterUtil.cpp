#include "LumConfCluster/ClusterUtil.h"

#include "LumConfCluster/ClusterBase.h"
#include "Trace.h"

namespace LumConfCluster {

void ClusterUtil::ChangeHeader(LumConf::PolicyHeaderImpl*) {
    if (!ClusterBase::GetClusterEnvDetected()) return;
    // A cluster that cannot be asked leaves the header as it is, and no product can be asked by this build.
    LUMCONF_TRACE(LumConf::trace::Cluster, "no cluster can be asked for the status of a policy");
}

}  // namespace LumConfCluster
