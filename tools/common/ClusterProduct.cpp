#include "common/ClusterProduct.h"

#include "LumPalIo.h"

namespace lumtools {

using LumConfCluster::ClusterType;

namespace {

bool IsThere(ClusterType type) {
    const char* const file = LumConfCluster::DaemonFile(type);
    return *file && LumPalIo::File_t(file).Exists();
}

}  // namespace

std::optional<ClusterType> FindClusterProduct() {
    for (int i = 0; i < static_cast<int>(ClusterType::Unknown); ++i) {
        const auto type = static_cast<ClusterType>(i);
        if (IsThere(type)) return type;
    }
    return std::nullopt;
}

}  // namespace lumtools
