#include "lumconfd/ClusterFound.h"

#include <string>

#include "ConfBase.h"
#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"

namespace lumconfd {

using LumConf::ConfBase;
using LumConfCluster::ClusterType;
using LumPalConfig::Configuration_t;
using LumPalMsg::CreateInfo_t;
using LumPalMsg::CreateWarn_t;
using LumPalStr::String_t;

namespace {

/// What a monitor that starts without them would set.
struct Filling {
    const char* key;
    String_t value;
};

}  // namespace

void SayWhichIsFollowed(ClusterType product) {
    const String_t name = LumConfCluster::DisplayText(product), file = LumConfCluster::DaemonFile(product);
    LumPalLog::Log(CreateInfo_t("The cluster product '%1' is followed: '%2' is there.") << name << file);
    const String_t configured = ConfBase::Get_NS_ConfCluster().Open().GetValue(LumPalKeys::ClusterTypeKey);
    for (int i = 0; i < static_cast<int>(ClusterType::Unknown); ++i) {
        const auto type = static_cast<ClusterType>(i);
        if (type == product || configured != LumConfCluster::DisplayText(type)) continue;
        LumPalLog::Log(CreateWarn_t("CLUSTER_TYPE of conf.cluster names '%1', which is another product: no cluster is "
                                    "seen until that is changed.")
                       << configured);
    }
}

void FillEmptyClusterKeys(ClusterType product) {
    const Filling fillings[] = {{LumPalKeys::ClusterTypeKey, LumConfCluster::DisplayText(product)},
                                {LumPalKeys::PollingIntervalKey, "10000"},
                                {LumPalKeys::MonitorModeKey, "TRUE"}};
    const Configuration_t present = ConfBase::Get_NS_ConfCluster().Open();
    Configuration_t filled(present.GetNamespace());
    std::string told;
    for (const Filling& filling : fillings) {
        if (present.GetValue(filling.key).IsNotEmpty()) continue;
        filled.SetAttrValue(filling.key, filling.value);
        told += std::string(told.empty() ? "" : ", ") + filling.key + "=" + filling.value.ToUtf8();
    }
    if (told.empty()) return;
    LumPalConfig::ConfigUpdate_t update(String_t::Null());
    update.SetConfig(filled);
    update.Apply();
    LumPalLog::Log(CreateInfo_t("Settings of conf.cluster that were empty are set: %1") << String_t::FromUtf8(told));
}

}  // namespace lumconfd
