#include "ClusterProducts.h"

#include <algorithm>

#include "adapters/ClusterHacmp.h"
#include "adapters/ClusterKes.h"
#include "adapters/ClusterMscs.h"
#include "adapters/ClusterPlsd.h"
#include "adapters/ClusterRhas.h"
#include "adapters/ClusterSc.h"
#include "adapters/ClusterVcs.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

template <class Adapter>
ClusterImpl* Make(const ClusterProduct& product) {
    return new Adapter(product);
}

const ClusterProduct& RowOf(ClusterType type) {
    const auto index = static_cast<std::size_t>(type);
    return kClusterProducts[std::min(index, kClusterProducts.size() - 1)];
}

}  // namespace

const std::array<ClusterProduct, 8> kClusterProducts{{
    {ClusterType::Vcs, "VERITAS Cluster Server (VCS)", "/opt/VRTSvcs/bin/had", ".RGState.VCS", &Make<ClusterVcs>},
    {ClusterType::Sc, "Sun Cluster (SC)", "/usr/cluster/lib/sc/clexecd", ".RGState.SC", &Make<ClusterSc>},
    {ClusterType::Plsd, "Palisade (PLSD)", "/usr/lbin/plsd", ".RGState.PLSD", &Make<ClusterPlsd>},
    {ClusterType::Hacmp, "AIX Cluster (HACMP)", "/usr/es/sbin/cluster/clstrmgr", ".RGState.HACMP", &Make<ClusterHacmp>},
    {ClusterType::Kes, "Kestrel Cluster (KCR)", "/usr/sbin/kesd", "", &Make<ClusterKes>},
    {ClusterType::Rhas, "Red Hat Advanced Server (RHAS)", "/sbin/clusvcmgrd", ".RGState.RHAS", &Make<ClusterRhas>},
    {ClusterType::Mscs, "Microsoft Cluster Server (MSCS)", "", ".RGState.MSCS", &MakeMscs},
    {ClusterType::Unknown, "Unknown", "", "", nullptr},
}};

const char* DisplayText(ClusterType type) noexcept {
    return RowOf(type).displayName;
}

const char* DaemonFile(ClusterType type) noexcept {
    return RowOf(type).daemonFile;
}

ClusterType NamedType(const String_t& displayName) {
    const auto found = std::find_if(kClusterProducts.begin(), kClusterProducts.end(),
                                    [&](const ClusterProduct& row) { return displayName == row.displayName; });
    return found == kClusterProducts.end() ? ClusterType::Unknown : found->type;
}

ClusterType Agreed(const String_t& configured, ClusterType found) {
    const ClusterType named = NamedType(configured);
    return named == ClusterType::Unknown || named == found ? found : ClusterType::Unknown;
}

ClusterType FirstInstalled(const std::function<bool(const char*)>& exists) {
    const auto isThere = [&](const ClusterProduct& row) { return *row.daemonFile && exists(row.daemonFile); };
    const auto found = std::find_if(kClusterProducts.begin(), kClusterProducts.end(), isThere);
    return found == kClusterProducts.end() ? ClusterType::Unknown : found->type;
}

}  // namespace LumConfCluster
