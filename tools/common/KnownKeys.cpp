#include "common/KnownKeys.h"

#include <algorithm>
#include <climits>
#include <initializer_list>
#include <iterator>

#include "LumConfCluster/ClusterType.h"
#include "LumPalKeys.h"
#include "LumPalNet.h"
#include "LumSecCore.h"
#include "LumVoxMsg.h"
#include "common/KeyValues.h"

namespace lumtools {

using namespace LumPalKeys;
using LumConfCluster::ClusterType, LumConfCluster::DisplayText;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

using F = ValueForm;

constexpr const char* kTruth = "truth";
constexpr const char* kMs = "ms, 100 to 3600000";
constexpr std::uint64_t kLeastMs = 100, kMostMs = 3600000;

constexpr const char* kAuditModes = "all, failure (counts at the start) or FAILURE (counts on a change)";

ClusterType Next(ClusterType type) {
    return static_cast<ClusterType>(static_cast<std::int32_t>(type) + 1);
}

/// The names of all products, with commas between them.
std::string Products() {
    std::string names;
    for (auto type = ClusterType::Vcs; type <= ClusterType::Pcmk; type = Next(type)) {
        if (type != ClusterType::Unknown) names += (names.empty() ? "" : ", ") + std::string(DisplayText(type));
    }
    return names;
}

constexpr const char* kExpectedProduct = "the product that the node is expected to belong to, one of ";
constexpr const char* kOtherProduct =
    "; a monitor writes the one that it sees over any other text, and ends where the node has no certificate for that";

const char* ProductEffect() {
    // never destroyed: it is used as long as the table
    static const std::string& text = *new std::string(kExpectedProduct + Products());
    return text.c_str();
}

const char* WantedProduct() {
    // never destroyed: it is used as long as the table
    static const std::string& text = *new std::string("empty, or one of " + Products() + kOtherProduct);
    return text.c_str();
}

// clang-format off
const KnownKey kKeys[] = {
    {NsConfCore, AsyncControlNotifyKey, F::Truth, kTruth, "false", kAtOnce,
     "CHECK_POLICY events do not wait for the consumers' acknowledgement"},
    {NsConfCore, ControlAckTimeoutKey, F::Count, "seconds, 1 to 3600", "30", kAtOnce,
     "how long a CHECK_POLICY event waits for acknowledgement; 0 gives the default, more gives 3600", 0, 3600},
    {NsConfCore, CacheSettingsPoliciesKey, F::Truth, kTruth, "false", kAtOnce,
     "keep settings policies in memory"},
    {NsConfCore, StrictSignersKey, F::Truth, kTruth, "false", kAtOnce,
     "who signs a policy must pass all that a caller over TLS must"},

    {NsConfServer, AuditLoggingKey, F::Truth, kTruth, "false", kAtOnce, "write the audit log"},
    {NsConfServer, AuditLogModeKey, F::AuditMode, kAuditModes, "all", kAtOnce,
     "what the audit log holds: everything, or failures alone. At the start of the daemon failure gives failures alone, "
     "when the value changes FAILURE does; each other word gives everything then"},
    {NsConfServer, MetricsOnLoopbackKey, F::Truth, kTruth, "false", kAtOnce,
     "/metrics is open to every program of this host"},
    {NsConfServer, NoMultiplePoliciesKey, F::Text, "text", "empty", kAtOnce,
     "types of which a node takes one policy at a time"},
    {NsConfServer, SharedDataFilesKey, F::SharedFiles, "allow, keep or refuse, in any case", "allow", kAtOnce,
     "what becomes of a data file that two policies of a type name"},
    {NsConfServer, FormatPolicyListKey, F::Truth, kTruth, "false", kAtOnce, "keep the merged policy list up to date"},
    {NsConfServer, MergedPolicyListFilenameKey, F::ListName, "file name, at most 251 bytes", "lum_policies.txt", kAtOnce,
     "the name of the file in conf/conf that holds the merged policy list"},
    {NsConfServer, PingServerKey, F::Servers, "hosts, with blanks between them; at most 16", "empty: none", kAtOnce,
     "servers that the daemon asks for their inventory"},
    {NsConfServer, LocateServerKey, F::Truth, kTruth, "false", kAtOnce,
     "the hosts of PING_SERVER stand for one server: asked in their order until one answers"},
    {NsConfServer, WaitTimeKey, F::WaitTime, "seconds, 1 to 86400", "60", kAtOnce,
     "the time between two rounds in which the servers of PING_SERVER are asked"},

    {NsSecCore, CoreIdKey, F::CoreId, "text", "empty",
     "who is the node, and its certificate: on SIGHUP and by lumtrust; everything else at once",
     "the node's id: names its key store entry"},
    {NsSecCmCert, CertInstalledKey, F::Truth, kTruth, "false",
     "the daemon: at its start (SIGHUP and lumtrust renew a certificate but move no port); tools: with each call",
     "the node has a certificate: it speaks TLS, and so do its tools"},

    {NsVoxHttp, ServerPortKey, F::Range, "0 to 65535", "7443", kAfterRestart,
     "the port that the node serves; 0 takes a free one", 0, 65535},
    {NsVoxHttp, BindAddressKey, F::Address, "IP address", "empty: all", kAfterRestart,
     "the address on which the node is served with a certificate; without one it is 127.0.0.1"},
    {NsVoxHttp, IoThreadsKey, F::Range, "1 to 64", "2", kAfterRestart, "threads that move bytes", 1, 64},
    {NsVoxHttp, WorkerThreadsKey, F::Range, "1 to 256", "8", kAfterRestart, "threads that work on calls, for each path",
     1, 256},
    {NsVoxHttp, HeaderLimitKey, F::Range, "bytes, 1024 to 1048576", "65536", kAfterRestart,
     "largest header of a request", 1024, 1048576},
    {NsVoxHttp, BodyLimitKey, F::Range, "bytes, 1024 to 2147483647", "67108864", kAfterRestart,
     "largest body of a request", 1024, 2147483647},
    {NsVoxHttp, BodyTotalLimitKey, F::Range, "bytes, 1048576 to 1099511627776", "536870912", kAfterRestart,
     "all bodies, and large headers, together", 1048576, 1099511627776},
    {NsVoxHttp, MaxConnectionsKey, F::Range, "1 to 1000000", "10000", kAfterRestart, "open connections", 1, 1000000},
    {NsVoxHttp, MaxAddressConnectionsKey, F::Range, "1 to 1000000", "256", kAfterRestart,
     "open connections from one address of callers who have proven nothing", 1, 1000000},
    {NsVoxHttp, HandshakeTimeoutKey, F::Range, kMs, "10000", kAfterRestart, "longest TLS handshake", kLeastMs, kMostMs},
    {NsVoxHttp, HeaderTimeoutKey, F::Range, kMs, "10000", kAfterRestart,
     "longest time for a header from its first byte", kLeastMs, kMostMs},
    {NsVoxHttp, BodyTimeoutKey, F::Range, kMs, "20000", kAfterRestart,
     "longest time for a body, and more as MIN_RATE tells", kLeastMs, kMostMs},
    {NsVoxHttp, IdleTimeoutKey, F::Range, kMs, "60000", kAfterRestart, "longest silence between requests", kLeastMs,
     kMostMs},
    {NsVoxHttp, WriteTimeoutKey, F::Range, kMs, "20000", kAfterRestart,
     "longest time for taking an answer, and more as MIN_RATE tells", kLeastMs, kMostMs},
    {NsVoxHttp, CloseTimeoutKey, F::Range, kMs, "2000", kAfterRestart,
     "how long a stopping daemon waits for answers that are being sent", kLeastMs, kMostMs},
    {NsVoxHttp, LocalSecretHeaderKey, F::Truth, kTruth, "true", kAfterRestart,
     "a local caller may send the node's secret as it stands"},
    {NsVoxHttp, MinRateKey, F::Range, "bytes, 1 to 1073741824", "4096", kAfterRestart,
     "so many bytes that have moved add one second to the limits of a body and of an answer", 1, 1073741824},

    {NsVoxHttp, TargetPortKey, F::Port, "port, at most 65535", "7443", kAtOnce, "the port that is called where the host names none"},
    {NsVoxHttp, ConnectTimeoutKey, F::Count, "seconds, at least 0, at most 2147483", "10", kAtOnce,
     "longest time for a connection, TLS handshake included", 0, INT_MAX / 1000},
    {NsVoxHttp, RequestTimeoutKey, F::Count, "seconds, at least 0, at most 2147483647", "300", kAtOnce,
     "longest time in which no byte moves while a call is out", 0, INT_MAX},
    {NsVoxHttp, CallTimeoutKey, F::Count, "seconds, at least 0, at most 2147483647", "0: none", kAtOnce, "longest time for a call in all",
     0, INT_MAX},
    {NsVoxHttp, ResponseLimitKey, F::Count, "bytes, 0 or at least 65536, at most 2147483647", "1073741824", kAtOnce, "largest answer; 0 gives the default",
     65536, INT_MAX},

    {NsConfCluster, ClusterTypeKey, F::Product, "empty, or the name of a product", "empty", kAtOnce, ProductEffect()},
    {NsConfCluster, ClusterLocalNodenameKey, F::Text, "text", "empty", kAtOnce, "what the cluster calls this node"},
    {NsConfCluster, PollingIntervalKey, F::Interval, "ms, 1 to 2147483647", "10000", kAtOnce,
     "the time between two looks at the cluster", 1, INT_MAX},
    {NsConfCluster, MonitorModeKey, F::TruthOrEmpty, kTruth, "true, once it is filled; until then false", kAtOnce,
     "policies and commands follow the cluster"},
    {NsConfCluster, MaxRetriesForClusterUpKey, F::Count, "number, at least 0, at most 2147483647", "1", kAfterRestart,
     "how often a start tries to see the cluster", 0, INT_MAX},
    {NsConfCluster, CommandTimeoutKey, F::Count, "seconds, at least 0, at most 4294967", "0: none", kAtOnce,
     "the longest time for one command of an application", 0, UINT_MAX / 1000},
    {NsConfCluster, ToolTimeoutKey, F::Count, "seconds, at least 0, at most 4294967", "0: none", kAtOnce,
     "the longest time for one call of a product's tool", 0, UINT_MAX / 1000},
};
// clang-format on

bool IsDigits(const std::string& text) {
    return !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
}

/// However large, and also below 0.
bool IsNumber(const std::string& text) {
    const std::size_t first = text.starts_with('-') ? 1 : 0;
    return text.size() > first && text.find_first_not_of("0123456789", first) == std::string::npos;
}

bool IsBetween(const std::string& text, std::uint64_t least, std::uint64_t most) {
    return IsDigits(text) && std::stoull(text) >= least && std::stoull(text) <= most;
}

/// In any case.
bool IsOneOf(const String_t& value, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(),
                       [&value](const char* word) { return LumPalStr::Compare(value, String_t(word), true) == 0; });
}

bool IsTruth(const String_t& value) {
    return IsOneOf(value, {"true", "yes", "on", "1", "false", "no", "off", "0"});
}

/// Any other text expects nothing of the node, also the one that stands for none. It is hardly what was meant by it.
bool IsProduct(const String_t& value) {
    return value.IsEmpty() || LumConfCluster::NamedType(value) != LumConfCluster::ClusterType::Unknown;
}

std::string Trimmed(String_t value) {
    return value.Trim().ToUtf8();
}

}  // namespace

std::span<const KnownKey> KnownKeys() {
    return kKeys;
}

const KnownKey* FindKey(const std::string& nameSpace, const std::string& name) {
    const auto found = std::find_if(std::begin(kKeys), std::end(kKeys), [&](const KnownKey& key) {
        return nameSpace == key.nameSpace && name == key.name;
    });
    return found == std::end(kKeys) ? nullptr : &*found;
}

const char* WantedValue(const KnownKey& key, const String_t& value) {
    switch (key.form) {
        case F::Text:
            return nullptr;
        case F::Address:
            return IsBindAddress(value) ? nullptr : "an IP address, or empty";
        case F::CoreId:
            return value.IsEmpty() || LumSecCore::IsAlias(value)
                       ? nullptr
                       : "empty, or a plain file name of at most 200 bytes: it names a certificate and its key";
        case F::Truth:
            return IsTruth(value) ? nullptr : "true or false";
        case F::TruthOrEmpty:
            return value.IsEmpty() || IsTruth(value) ? nullptr : "empty, true or false";
        case F::Port:
            return IsBetween(value.ToUtf8(), 0, 65535) ? nullptr : "a port from 0 to 65535";
        case F::Count:
            if (!IsNumber(value.ToUtf8())) return "a number";
            // 0 is always allowed: it gives the default, or means that there is none.
            return IsBetween(value.ToUtf8(), key.least, key.most) || IsBetween(value.ToUtf8(), 0, 0) ? nullptr
                                                                                                     : key.kind;
        case F::Range:
            return IsBetween(Trimmed(value), key.least, key.most) ? nullptr : key.kind;
        // Both spellings have a meaning, one at the start and one on a change.
        case F::AuditMode:
            return value == "all" || value == "failure" || value == "FAILURE" ? nullptr : kAuditModes;
        case F::SharedFiles:
            return value.IsEmpty() || IsOneOf(value, {"allow", "keep", "refuse"}) ? nullptr : "allow, keep or refuse";
        case F::ListName:
            return WantedListName(value);
        case F::Servers:
            return WantedServers(value);
        case F::WaitTime:
            return WantedWaitTime(value);
        case F::Product:
            return IsProduct(value) ? nullptr : WantedProduct();
        // What is empty of these is filled by a daemon that follows a cluster.
        case F::Interval:
            return value.IsEmpty() || IsBetween(value.ToUtf8(), key.least, key.most)
                       ? nullptr
                       : "empty, or milliseconds from 1 to 2147483647";
    }
    return nullptr;
}

std::string WrongValue(const std::string& nameSpace, const std::string& name, const String_t& value) {
    const KnownKey* const key = FindKey(nameSpace, name);
    const char* const wanted = key ? WantedValue(*key, value) : nullptr;
    if (!wanted) return "";
    return "[" + nameSpace + "] " + name + "=" + value.ToUtf8() + ": must be " + wanted;
}

bool IsBindAddress(const String_t& value) {
    const LumPalConfig::ConfigGroup_t group;
    Configuration_t server = group.GetConfig(String_t(NsVoxHttp));
    server.SetAttrValue(BindAddressKey, value);
    return LumVoxMsg::FindWrongLimits(server).GetMessageCount() == 0;
}

bool IsAnyAddress(const String_t& value) try {
    const std::string text = Trimmed(value);
    if (text.empty()) return true;
    const LumPalNet::InetAddress_t address(String_t::FromUtf8(text)), any("0.0.0.0"), any6("::");
    return address == any || address == any6;
} catch (const LumPalNet::ConnectException_t&) {
    return false;  // of a network that this host does not have
}

unsigned CalledPort(const Configuration_t& server) {
    const KnownKey& key = *FindKey(NsVoxHttp, TargetPortKey);
    if (!server.HasAttr(TargetPortKey)) return static_cast<unsigned>(std::stoul(key.standard));
    const std::string value = Trimmed(server.GetValue(TargetPortKey));
    if (WantedValue(key, String_t::FromUtf8(value))) return 0;
    // A client takes 0 for no port.
    return static_cast<unsigned>(std::stoul(std::stoul(value) == 0 ? key.standard : value));
}

std::string PortsApart(const Configuration_t& server) {
    const KnownKey& key = *FindKey(NsVoxHttp, ServerPortKey);
    const std::string value = server.HasAttr(ServerPortKey) ? Trimmed(server.GetValue(ServerPortKey)) : key.standard;
    const unsigned called = CalledPort(server);
    if (called == 0 || WantedValue(key, String_t::FromUtf8(value)) || std::stoul(value) == called) return "";
    return "The node serves port " + std::to_string(std::stoul(value)) + " (" + ServerPortKey +
           "), but its own tools call " + std::to_string(called) + " (" + TargetPortKey + ")";
}

}  // namespace lumtools
