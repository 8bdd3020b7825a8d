// Making the Microsoft adapter, where it cannot be asked.
#include "ClusterMscs.h"
#include "ClusterProducts.h"
#include "LoggedFailure.h"

namespace LumConfCluster {

ClusterImpl* MakeMscs(const ClusterProduct& product) {
    TraceAndRaise(LumConf::msg::MscsNotHere, product.displayName);
}

}  // namespace LumConfCluster
