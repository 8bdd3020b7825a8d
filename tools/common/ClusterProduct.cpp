#include "common/ClusterProduct.h"

#include <filesystem>

namespace lumtools {

using LumConfCluster::ClusterType;

std::optional<ClusterType> FindClusterProduct() {
    const ClusterType found = LumConfCluster::InstalledType();
    return found == ClusterType::Unknown ? std::nullopt : std::optional(found);
}

std::optional<UnconfiguredProduct> FindUnconfiguredProduct() {
    const ClusterType type = LumConfCluster::UnconfiguredType();
    if (type == ClusterType::Unknown) return std::nullopt;
    std::error_code error;
    if (std::filesystem::exists(LumConfCluster::ConfigurationFile(type), error)) return std::nullopt;
    return UnconfiguredProduct{type, error == std::errc::permission_denied};
}

}  // namespace lumtools
