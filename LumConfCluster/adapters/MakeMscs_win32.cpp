// Making the Microsoft adapter, over the API of the system.
#include "ClusterMscs.h"
#include "ClusterProducts.h"

namespace LumConfCluster {

ClusterImpl* MakeMscs(const ClusterProduct& product) {
    return new ClusterMscs(product, LumPalMscs::ThisSystem());
}

}  // namespace LumConfCluster
