#include "lumconfd/ConfigCheck.h"

#include <algorithm>
#include <climits>
#include <functional>
#include <initializer_list>
#include <ostream>
#include <set>

#include "LumConfCluster/ClusterType.h"
#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumPalMsg.h"
#include "LumSecAuth.h"
#include "LumSecCore.h"
#include "LumVoxMsg.h"
#include "lumconfd/DaemonKeys.h"

namespace lumconfd {

namespace {

using namespace LumPalKeys;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

enum class Type { Boolean, Port, Count, AuditMode, SharedFiles, ListName, Servers, WaitTime, Product, Interval, Mode };

/// A key whose value has a form.
struct Key {
    const char* nameSpace;
    const char* name;
    Type type;
};

const Key kKeys[] = {
    {NsConfCore, AsyncControlNotifyKey, Type::Boolean},
    {NsConfCore, CacheSettingsPoliciesKey, Type::Boolean},
    {NsConfCore, ControlAckTimeoutKey, Type::Count},
    {NsConfCore, StrictSignersKey, Type::Boolean},
    {NsConfServer, AuditLoggingKey, Type::Boolean},
    {NsConfServer, AuditLogModeKey, Type::AuditMode},
    {NsConfServer, SharedDataFilesKey, Type::SharedFiles},
    {NsConfServer, FormatPolicyListKey, Type::Boolean},
    {NsConfServer, MergedPolicyListFilenameKey, Type::ListName},
    {NsConfServer, LocateServerKey, Type::Boolean},
    {NsConfServer, PingServerKey, Type::Servers},
    {NsConfServer, WaitTimeKey, Type::WaitTime},
    {NsConfCluster, ClusterTypeKey, Type::Product},
    {NsConfCluster, ToolTimeoutKey, Type::Count},
    {NsConfCluster, CommandTimeoutKey, Type::Count},
    {NsConfCluster, MonitorModeKey, Type::Mode},
    {NsConfCluster, PollingIntervalKey, Type::Interval},
    {NsConfCluster, MaxRetriesForClusterUpKey, Type::Count},
    {NsSecCmCert, CertInstalledKey, Type::Boolean},
    {NsVoxHttp, LocalSecretHeaderKey, Type::Boolean},
    {NsVoxHttp, TargetPortKey, Type::Port},
    {NsVoxHttp, ConnectTimeoutKey, Type::Count},
    {NsVoxHttp, RequestTimeoutKey, Type::Count},
    {NsVoxHttp, ResponseLimitKey, Type::Count},
};

bool IsNumber(const std::string& text) {
    return !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
}

bool IsInterval(const std::string& text) {
    return text.empty() || (IsNumber(text) && std::stol(text) >= 1 && std::stol(text) <= INT_MAX);
}

/// In any case.
bool IsOneOf(const String_t& value, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(),
                       [&value](const char* word) { return LumPalStr::Compare(value, String_t(word), true) == 0; });
}

bool IsBoolean(const String_t& value) {
    return IsOneOf(value, {"true", "yes", "on", "1", "false", "no", "off", "0"});
}

/// Any other text expects nothing of the node, also the one that stands for none. It is hardly what was meant by it.
bool IsProduct(const String_t& value) {
    using LumConfCluster::ClusterType;
    for (int i = 0; i < static_cast<int>(ClusterType::Unknown); ++i) {
        if (value == LumConfCluster::DisplayText(static_cast<ClusterType>(i))) return true;
    }
    return value.IsEmpty();
}

const char* Wanted(Type type, const String_t& value) {
    const std::string text = value.ToUtf8();
    switch (type) {
        case Type::Boolean:
            return IsBoolean(value) ? nullptr : "true or false";
        case Type::Port:
            return IsNumber(text) && std::stol(text) <= 65535 ? nullptr : "a port from 0 to 65535";
        case Type::Count:
            return IsNumber(text) ? nullptr : "a number";
        // Both spellings have a meaning, one at the start and one on a change.
        case Type::AuditMode:
            return text == "all" || text == "failure" || text == "FAILURE" ? nullptr : "all or failure";
        case Type::SharedFiles:
            return value.IsEmpty() || IsOneOf(value, {"allow", "keep", "refuse"}) ? nullptr : "allow, keep or refuse";
        case Type::ListName:
            return WantedListName(value);
        case Type::Servers:
            return WantedServers(value);
        case Type::WaitTime:
            return WantedWaitTime(value);
        case Type::Product:
            return IsProduct(value) ? nullptr
                                    : "empty, or a product as docs/clusters.md names it; a monitor writes the one that "
                                      "it sees over any "
                                      "other text, and ends where the node has no certificate for that";
        // What is empty of these is filled by a daemon that follows a cluster.
        case Type::Interval:
            return IsInterval(text) ? nullptr : "empty, or milliseconds from 1 to 2147483647";
        case Type::Mode:
            return value.IsEmpty() || IsBoolean(value) ? nullptr : "empty, true or false";
    }
    return nullptr;
}

/// Collects what is wrong.
class Report {
public:
    explicit Report(std::ostream& out) : out(out) {}
    /// Told once, also when several steps meet it.
    void Problem(const std::string& text) {
        if (problems.insert(text).second) out << text << "\n";
    }
    void Problems(const LumPalMsg::MessageList_t& found) {
        for (int i = 0; i < found.GetMessageCount(); ++i) {
            Problem(found.GetMessage(i).Format(LumPalMsg::BareText).ToUtf8());
        }
    }
    /// What a step raises is a problem.
    void Step(const std::function<void()>& step) {
        try {
            step();
        } catch (const std::exception& e) {
            Problem(e.what());
        }
    }
    std::size_t GetCount() const { return problems.size(); }

private:
    std::ostream& out;
    std::set<std::string> problems;
};

void CheckKeys(const ConfigGroup_t& group, Report& report) {
    for (const Key& key : kKeys) {
        if (!group.HasConfig(key.nameSpace)) continue;
        const Configuration_t configuration = group.GetConfig(String_t(key.nameSpace));
        if (!configuration.HasAttr(key.name)) continue;
        const String_t value = configuration.GetAttrValue(key.name);
        if (const char* wanted = Wanted(key.type, value)) {
            report.Problem(std::string("[") + key.nameSpace + "] " + key.name + "=" + value.ToUtf8() + ": must be " +
                           wanted);
        }
    }
}

/// TLS takes keys that sign no policies. That is no mistake: few nodes sign.
void TellWhetherTheNodeSigns(std::ostream& out) {
    LumSecCore::Key key;
    try {
        const String_t coreId = LumPalConfig::ConfigNamespace_t(NsSecCore).Open().GetValue(CoreIdKey);
        LumSecCore::KeyStore().GetPrivateKey(coreId, key);
    } catch (const LumPalMsg::Exception_t&) {
        return;  // there is none, or a problem that the other steps tell
    }
    try {
        LumSecCore::Signature(0).InitSign(key);
    } catch (const LumSecCore::InvalidKeyException& e) {
        out << "Note: with its key this node cannot sign policies. " << e.what() << "\n";
    }
}

}  // namespace

bool CheckConfiguration(std::ostream& out) {
    Report report(out);
    report.Step([&] { CheckKeys(LumPalConfig::ConfigBase_t::Open(""), report); });
    report.Step([&] {
        const auto server = LumPalConfig::ConfigNamespace_t(NsVoxHttp).Open();
        report.Problems(LumVoxMsg::FindWrongLimits(server));
    });
    report.Step([&] { report.Problems(LumSecAuth::FindWrongRights()); });
    report.Step([] { LumSecCore::NodeIdentity::Load().RequireUsable(); });
    TellWhetherTheNodeSigns(out);
    out << (report.GetCount() == 0 ? "the configuration is in order"
                                   : std::to_string(report.GetCount()) + " problem(s)")
        << "\n";
    return report.GetCount() == 0;
}

}  // namespace lumconfd
