#include "lumconfd/DaemonKeys.h"

#include <algorithm>
#include <tuple>

#include "ConfBase.h"
#include "common/KeyValues.h"

namespace lumconfd {

using LumConf::ConfBase;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

std::chrono::seconds WaitTimeOf(const String_t& text, std::chrono::seconds otherwise) {
    const long seconds = lumtools::NumberIn(text);
    return seconds < 1 ? otherwise : std::chrono::seconds(std::min(seconds, lumtools::kMostWaitSeconds));
}

auto Tied(const DaemonKeys& keys) {
    return std::tie(keys.formatPolicyList, keys.listName, keys.servers, keys.locateServer, keys.waitTime);
}

}  // namespace

DaemonKeys DaemonKeys::Read(const Configuration_t& configuration) {
    DaemonKeys keys;
    keys.formatPolicyList = configuration.GetBool(ConfBase::Get_g_FormatPolicyListKey());
    const String_t name = configuration.GetAttrValue(ConfBase::Get_g_MergedPolicyListFilenameKey());
    keys.listName = lumtools::IsFileName(name.ToUtf8()) ? name : String_t(ConfBase::Get_g_DumpFilename());
    keys.servers = lumtools::HostsIn(configuration.GetAttrValue(ConfBase::Get_s_lumconfdPingServer()));
    keys.servers.resize(std::min(keys.servers.size(), lumtools::kMostServers));
    keys.locateServer = configuration.GetBool(ConfBase::Get_s_lumconfdLocateServer());
    keys.waitTime = WaitTimeOf(configuration.GetAttrValue(ConfBase::Get_s_lumconfdWaitTime()), keys.waitTime);
    return keys;
}

bool DaemonKeys::operator==(const DaemonKeys& other) const {
    return Tied(*this) == Tied(other);
}

LiveKeys::LiveKeys(std::function<void()> whenChanged)
    : nameSpace(ConfBase::Get_NS_ConfServer()), changed(std::move(whenChanged)) {
    // A change that comes meanwhile waits for the mutex, so that no old value stands over a newer one.
    LumPalThread::PlainLock_t lock(mutex);
    nameSpace.Register(*this);
    try {
        keys = DaemonKeys::Read(nameSpace.Open());
    } catch (...) {
        lock.Unlock();  // to unsubscribe waits for a call in flight
        nameSpace.Unregister(*this);
        throw;
    }
}

LiveKeys::~LiveKeys() {
    nameSpace.Unregister(*this);
}

DaemonKeys LiveKeys::Get() const {
    const LumPalThread::PlainLock_t lock(mutex);
    return keys;
}

void LiveKeys::Update(const LumPalConfig::ChangedConfiguration_t&, const Configuration_t& configuration) {
    DaemonKeys now = DaemonKeys::Read(configuration);
    {
        const LumPalThread::PlainLock_t lock(mutex);
        if (now == keys) return;
        keys = std::move(now);
    }
    changed();
}

}  // namespace lumconfd
