#include "ClusterProducts.h"

#include <algorithm>

#include "LumPalIo.h"
#include "adapters/ClusterHacmp.h"
#include "adapters/ClusterKes.h"
#include "adapters/ClusterMscs.h"
#include "adapters/ClusterPcmk.h"
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
    return kClusterProducts[index < kClusterProducts.size() ? index : static_cast<std::size_t>(ClusterType::Unknown)];
}

using Exists = std::function<bool(const char*)>;

bool HasDaemon(const ClusterProduct& row, const Exists& exists) {
    return *row.daemonFile && exists(row.daemonFile);
}

template <class Test>
ClusterType FirstOf(Test&& isWanted) {
    const auto found = std::find_if(kClusterProducts.begin(), kClusterProducts.end(), isWanted);
    return found == kClusterProducts.end() ? ClusterType::Unknown : found->type;
}

bool IsFile(const char* path) {
    return LumPalIo::File_t(path).Exists();
}

constexpr ClusterProduct kRows[]{
    {ClusterType::Vcs, "VERITAS Cluster Server (VCS)", "/opt/VRTSvcs/bin/had", "", ".RGState.VCS", &Make<ClusterVcs>},
    {ClusterType::Sc, "Sun Cluster (SC)", "/usr/cluster/lib/sc/clexecd", "", ".RGState.SC", &Make<ClusterSc>},
    {ClusterType::Plsd, "Palisade (PLSD)", "/usr/lbin/plsd", "", ".RGState.PLSD", &Make<ClusterPlsd>},
    {ClusterType::Hacmp, "AIX Cluster (HACMP)", "/usr/es/sbin/cluster/clstrmgr", "", ".RGState.HACMP",
     &Make<ClusterHacmp>},
    {ClusterType::Kes, "Kestrel Cluster (KCR)", "/usr/sbin/kesd", "", "", &Make<ClusterKes>},
    {ClusterType::Rhas, "Red Hat Advanced Server (RHAS)", "/sbin/clusvcmgrd", "", ".RGState.RHAS", &Make<ClusterRhas>},
    {ClusterType::Mscs, "Microsoft Cluster Server (MSCS)", "", "", ".RGState.MSCS", &MakeMscs},
    {ClusterType::Unknown, "Unknown", "", "", "", nullptr},
    {ClusterType::Pcmk, "Pacemaker (PCMK)", "/usr/sbin/pacemakerd", "/var/lib/pacemaker/cib/cib.xml", ".RGState.PCMK",
     &Make<ClusterPcmk>},
};

constexpr bool AreByNumber() {
    std::int32_t number = 0;
    return std::all_of(std::begin(kRows), std::end(kRows),
                       [&](const ClusterProduct& row) { return row.type == static_cast<ClusterType>(number++); });
}
static_assert(AreByNumber());

}  // namespace

constinit const std::span<const ClusterProduct> kClusterProducts(kRows);

const char* DisplayText(ClusterType type) noexcept {
    return RowOf(type).displayName;
}

const char* DaemonFile(ClusterType type) noexcept {
    return RowOf(type).daemonFile;
}

const char* ConfigurationFile(ClusterType type) noexcept {
    return RowOf(type).configurationFile;
}

ClusterType NamedType(const String_t& displayName) {
    return FirstOf([&](const ClusterProduct& row) { return displayName == row.displayName; });
}

ClusterType Agreed(const String_t& configured, ClusterType found) {
    const ClusterType named = NamedType(configured);
    return named == ClusterType::Unknown || named == found ? found : ClusterType::Unknown;
}

ClusterType FirstInstalled(const std::function<bool(const char*)>& exists) {
    return FirstOf([&](const ClusterProduct& row) {
        return HasDaemon(row, exists) && (!*row.configurationFile || exists(row.configurationFile));
    });
}

ClusterType InstalledType() {
    return FirstInstalled(IsFile);
}

ClusterType UnconfiguredType() {
    return FirstOf([](const ClusterProduct& row) {
        return HasDaemon(row, IsFile) && *row.configurationFile && !IsFile(row.configurationFile);
    });
}

}  // namespace LumConfCluster
