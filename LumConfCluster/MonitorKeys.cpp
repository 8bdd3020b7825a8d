#include "MonitorKeys.h"

#include <algorithm>

#include "ConfBase.h"
#include "LumPalConfig.h"
#include "Names.h"
#include "SettingsForwarder.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

constexpr int kLeastInterval = 1;

/// kept: the whole namespace is sent, also what policies brought to it.
void WriteBack(Configuration_t& keys, const char* key, const String_t& value, const LocalName& local) {
    keys.SetAttrValue(key, value);
    LumConfPar::SettingsForwarder().Set(local.name, keys);
}

}  // namespace

LocalName FollowKeys(const MonitorFields& fields) {
    Configuration_t keys = ConfBase::Get_NS_ConfCluster().Open();
    LocalName local = LocalName::In(keys);
    if (keys.GetValue(names::ClusterTypeKey) != fields.clusterType) {
        WriteBack(keys, names::ClusterTypeKey, fields.clusterType, local);
    }
    if (keys.GetValue(names::PollingIntervalKey).IsEmpty()) {
        WriteBack(keys, names::PollingIntervalKey, LumPalStr::NumToStr(fields.pollingInterval), local);
    }
    fields.pollingInterval = std::max(keys.GetInt(names::PollingIntervalKey), kLeastInterval);
    if (keys.GetValue(names::MonitorModeKey).IsEmpty()) {
        WriteBack(keys, names::MonitorModeKey, fields.monitorMode ? "TRUE" : "FALSE", local);
    }
    fields.monitorMode = keys.GetBool(names::MonitorModeKey);
    return local;
}

}  // namespace LumConfCluster
