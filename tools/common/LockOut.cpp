#include "common/LockOut.h"

#include "LumPalKeys.h"
#include "LumPalNet.h"
#include "LumSecAuth.h"
#include "LumSecCore.h"
#include "PolicyForwarder.h"
#include "common/Arguments.h"
#include "common/KnownKeys.h"
#include "common/Outcome.h"

namespace lumtools {

using namespace LumPalKeys;
using LumConf::NodeStatus;
using LumPalConfig::ConfigBase_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigSource;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

constexpr const char* kBehindIt = " Start the daemon again behind it.";

bool Names(const ConfigGroup_t& group, const char* nameSpace, const char* name) {
    return group.HasConfig(nameSpace) && group.GetConfig(String_t(nameSpace)).HasAttr(name);
}

bool ConcernsPorts(const ConfigGroup_t& changed) {
    return Names(changed, NsVoxHttp, ServerPortKey) || Names(changed, NsVoxHttp, TargetPortKey);
}

bool ConcernsCertificate(const ConfigGroup_t& changed) {
    return Names(changed, NsSecCmCert, CertInstalledKey) || Names(changed, NsSecCore, CoreIdKey);
}

/// Without a certificate it is served on loopback whatever stands there.
bool ConcernsAddress(const ConfigGroup_t& changed) {
    return Names(changed, NsVoxHttp, BindAddressKey) || Names(changed, NsSecCmCert, CertInstalledKey);
}

bool CountsAsInstalled(const ConfigGroup_t& then) {
    return then.GetConfig(String_t(NsSecCmCert)).GetBool(CertInstalledKey);
}

std::string WhyNoCertificate(const ConfigGroup_t& then) {
    if (!CountsAsInstalled(then)) return "";
    const String_t id = then.GetConfig(String_t(NsSecCore)).GetValue(CoreIdKey);
    if (id.IsEmpty()) return std::string("A certificate would count as installed, but ") + CoreIdKey + " is empty.";
    const Outcome loading = Attempt([&] { LumSecCore::OwnPair::Load(id); });
    return loading.messages.empty() ? "" : loading.messages.front().text;
}

/// The daemon takes a port at its start alone, its tools with each call.
std::string WhyNotServed(const ConfigGroup_t& changed, const ConfigGroup_t& then, const NodeStatus& now) {
    const unsigned called = CalledPort(then.GetConfig(String_t(NsVoxHttp)));
    if (!Names(changed, NsVoxHttp, TargetPortKey) || called == 0 || called == now.port) return "";
    return "It serves port " + std::to_string(now.port) + " until it is started again, and they would call port " +
           std::to_string(called) + " (" + TargetPortKey + ") at once." + kBehindIt;
}

/// Likewise whether it speaks TLS.
std::string WhyOtherRoad(const ConfigGroup_t& then, const NodeStatus& now) {
    if (CountsAsInstalled(then) == now.tls) return "";
    const char* const served = now.tls ? "with TLS" : "without TLS";
    const char* const called = now.tls ? "without it" : "with it";
    return std::string("It is served ") + served + " until it is started again, and they would call it " + called +
           " (" + CertInstalledKey + ") at once." + kBehindIt;
}

std::string WhyPortsPart(const ConfigGroup_t& then) {
    const std::string apart = PortsApart(then.GetConfig(String_t(NsVoxHttp)));
    return apart.empty() ? "" : apart + ": set both." + kBehindIt;
}

/// An address of loopback that 'localhost' does not stand for.
bool IsAside(const std::string& address) {
    for (const char* net : {"127.", "::ffff:127."}) {
        if (address.starts_with(net)) return address.substr(std::string_view(net).size()) != "0.0.1";
    }
    return false;
}

/// Where the tools reach what they call 'localhost'.
bool IsWithLocalhost(const String_t& address) {
    bool isWith = false;
    if (IsAside(address.ToUtf8())) return false;
    Attempt([&] { isWith = IsAnyAddress(address) || LumPalNet::InetAddress_t(address).IsLoopback(); });
    return isWith;
}

std::string WhyElsewhere(const ConfigGroup_t& then) {
    String_t address = then.GetConfig(String_t(NsVoxHttp)).GetValue(BindAddressKey);
    // The server takes loopback for what is no address.
    if (!CountsAsInstalled(then) || !IsBindAddress(address.Trim()) || IsWithLocalhost(address)) return "";
    const std::string shown = address.ToUtf8();
    return "Once it is started again it is served on " + shown + " alone (" + BindAddressKey +
           "), and they call 'localhost'. They reach it then by --host " + shown +
           ", if its certificate bears that address.";
}

/// The first that there is.
std::string First(std::string first, const std::function<std::string()>& next) {
    return first.empty() ? next() : first;
}

template <class Take>
void ForEach(const ConfigGroup_t& group, Take take) {
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const Configuration_t configuration = group.GetConfig(i);
        String_t name, value;
        for (int j = 0; configuration.GetAttr(j, name, value); ++j) take(configuration.GetNamespace(), name, value);
    }
}

ConfigGroup_t Over(const ConfigGroup_t& policies, const ConfigGroup_t& local) {
    const ConfigGroup_t both;
    for (const ConfigGroup_t& group : {policies, local}) {
        ForEach(group, [&](const String_t& nameSpace, const String_t& name, const String_t& value) {
            both.GetConfig(nameSpace).SetAttrValue(name, value);
        });
    }
    return both;
}

void AddDiffering(const ConfigGroup_t& one, const ConfigGroup_t& other, const ConfigGroup_t& changed) {
    ForEach(one, [&](const String_t& nameSpace, const String_t& name, const String_t& value) {
        const bool isSame = other.HasConfig(nameSpace) && other.GetConfig(nameSpace).HasAttr(name) &&
                            other.GetConfig(nameSpace).GetValue(name) == value;
        if (!isSame) changed.GetConfig(nameSpace).SetAttrValue(name, value);
    });
}

struct Foreseen {
    ConfigGroup_t changed, then;
};

Foreseen Foresee(const std::function<void(LumConfPar::SettingsMerge&)>& imagine) {
    const ConfigGroup_t local = ConfigBase_t::Open("", ConfigSource::Local);
    const ConfigGroup_t before = Over(ConfigBase_t::Open("", ConfigSource::Policy), local);
    LumConfPar::SettingsMerge merge;
    imagine(merge);
    const Foreseen foreseen{{}, Over(merge.Merge().GetGroup(), local)};
    AddDiffering(before, foreseen.then, foreseen.changed);
    AddDiffering(foreseen.then, before, foreseen.changed);
    return foreseen;
}

}  // namespace

bool ConcernsTools(const ConfigGroup_t& changed) {
    return ConcernsPorts(changed) || ConcernsCertificate(changed) || ConcernsAddress(changed);
}

std::string WhyLockedOut(const ConfigGroup_t& changed, const ConfigGroup_t& then, const std::optional<NodeStatus>& now,
                         bool isHere) {
    std::string why;
    if (ConcernsPorts(changed)) {
        why = First(WhyPortsPart(then), [&] { return now ? WhyNotServed(changed, then, *now) : ""; });
    }
    if (why.empty() && ConcernsAddress(changed)) why = WhyElsewhere(then);
    if (!why.empty() || !ConcernsCertificate(changed)) return why;
    return First(isHere ? WhyNoCertificate(then) : "", [&] { return now ? WhyOtherRoad(then, *now) : ""; });
}

std::optional<NodeStatus> AskHowServed(const std::string& host, const std::string& targetId) {
    std::optional<NodeStatus> status;
    Attempt([&] { status = LumConf::PolicyForwarder().GetStatus(Text(host), Text(targetId)); });
    return status;
}

void RequireTools(const std::string& host, const std::string& targetId,
                  const std::function<void(LumConfPar::SettingsMerge&)>& imagine) {
    if (host != "localhost") return;
    Foreseen foreseen;
    const Outcome outcome = Attempt([&] { foreseen = Foresee(imagine); });
    if (outcome.code != kDone || !ConcernsTools(foreseen.changed)) return;
    RefuseLockOut(host, WhyLockedOut(foreseen.changed, foreseen.then, AskHowServed(host, targetId), true));
}

void RefuseLockOut(const std::string& host, const std::string& why) {
    if (why.empty()) return;
    throw LumSecAuth::NotAuthorizedException(
        LumPalMsg::CreateError_t("Not done: the tools of '%1' could not reach it any more. %2")
            .AddDetails(LumPalMsg::CreateInfo_t("--force does it all the same."))
        << Text(host) << Text(why));
}

}  // namespace lumtools
