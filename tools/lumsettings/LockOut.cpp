#include "lumsettings/LockOut.h"

#include "LumPalKeys.h"
#include "LumSecCore.h"
#include "common/KnownKeys.h"
#include "common/Outcome.h"

namespace lumsettings {

using namespace LumPalKeys;
using LumPalConfig::ConfigGroup_t;
using LumPalStr::String_t;

namespace {

bool Names(const ConfigGroup_t& group, const char* nameSpace, const char* name) {
    return group.HasConfig(nameSpace) && group.GetConfig(String_t(nameSpace)).HasAttr(name);
}

bool ConcernsPorts(const ConfigGroup_t& changed) {
    return Names(changed, NsVoxHttp, ServerPortKey) || Names(changed, NsVoxHttp, TargetPortKey);
}

bool ConcernsCertificate(const ConfigGroup_t& changed) {
    return Names(changed, NsSecCmCert, CertInstalledKey) || Names(changed, NsSecCore, CoreIdKey);
}

std::string WhyNoCertificate(const ConfigGroup_t& then) {
    if (!then.GetConfig(String_t(NsSecCmCert)).GetBool(CertInstalledKey)) return "";
    const String_t id = then.GetConfig(String_t(NsSecCore)).GetValue(CoreIdKey);
    if (id.IsEmpty()) return std::string("A certificate would count as installed, but ") + CoreIdKey + " is empty";
    const lumtools::Outcome loading = lumtools::Attempt([&] { LumSecCore::OwnPair::Load(id); });
    return loading.messages.empty() ? "" : loading.messages.front().text;
}

}  // namespace

bool ConcernsTools(const ConfigGroup_t& changed) {
    return ConcernsPorts(changed) || ConcernsCertificate(changed);
}

std::string WhyLockedOut(const ConfigGroup_t& changed, const ConfigGroup_t& then, bool isHere) {
    if (ConcernsPorts(changed)) {
        const std::string apart = lumtools::PortsApart(then.GetConfig(String_t(NsVoxHttp)));
        if (!apart.empty()) return apart + ": set both.";
    }
    return isHere && ConcernsCertificate(changed) ? WhyNoCertificate(then) : "";
}

}  // namespace lumsettings
