#include "ChangedNames.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "LumPalKeys.h"
#include "Names.h"
#include "PlainName.h"

namespace LumConfPar {

using namespace LumPalKeys;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

/// A caller who may change the configuration must not push others' lines out of the log by long ones.
constexpr int kMostNames = 100;
constexpr std::uint32_t kMostUnits = 128;

constexpr std::string_view kBeginningsOfTheNode[] = {"conf.", "sec.", "vox."};

struct KnownKeys {
    std::string_view space;
    std::vector<std::string_view> keys;
};

/// What docs/configuration.md has a row for. There are fewer than are told, so that each is told whatever stands beside
/// it: nobody can hide one behind names that he makes up.
const KnownKeys kKnown[] = {
    {NsSecCore, {CoreIdKey}},
    {NsSecCmCert, {CertInstalledKey}},
    {NsConfServer,
     {AuditLoggingKey, AuditLogModeKey, MetricsOnLoopbackKey, NoMultiplePoliciesKey, SharedDataFilesKey,
      FormatPolicyListKey, MergedPolicyListFilenameKey, PingServerKey, LocateServerKey, WaitTimeKey}},
    {NsConfCore, {StrictSignersKey, AsyncControlNotifyKey, ControlAckTimeoutKey, CacheSettingsPoliciesKey}},
    {NsVoxHttp, {LocalSecretHeaderKey, ServerPortKey,    BindAddressKey, MaxConnectionsKey, MaxAddressConnectionsKey,
                 IoThreadsKey,         WorkerThreadsKey, HeaderLimitKey, BodyLimitKey,      BodyTotalLimitKey,
                 HandshakeTimeoutKey,  HeaderTimeoutKey, BodyTimeoutKey, IdleTimeoutKey,    WriteTimeoutKey,
                 CloseTimeoutKey,      MinRateKey,       TargetPortKey,  ConnectTimeoutKey, RequestTimeoutKey,
                 CallTimeoutKey,       ResponseLimitKey}},
    {NsConfCluster,
     {ClusterTypeKey, ClusterLocalNodenameKey, CommandTimeoutKey, MaxRetriesForClusterUpKey, MonitorModeKey,
      PollingIntervalKey, ToolTimeoutKey}},
};

/// In the marks, so that no name looks like two.
std::string Marked(const String_t& name, char open, char close) {
    std::string marked(1, open);
    for (const char c : LumConf::Shown(name, kMostUnits).ToUtf8()) {
        if (c == open || c == close || c == '\\') marked += '\\';
        marked += c;
    }
    return marked + close;
}

/// The words of cluster products for states, a namespace for each product; the keys are whatever its tools print.
constexpr int kMostStates = 5;
constexpr std::string_view kProducts[] = {"VCS", "SC", "PLSD", "HACMP", "RHAS", "MSCS", "PCMK"};

bool HoldsStates(std::string_view space) {
    const std::string states = std::string(NsConfCluster) + LumConf::names::RgStateInfix;
    if (!space.starts_with(states)) return false;
    const std::string_view product = space.substr(states.size());
    return std::find(std::begin(kProducts), std::end(kProducts), product) != std::end(kProducts);
}

enum class Rank { Known, States, OfTheNode, Other };

const KnownKeys* FindKnown(std::string_view space) {
    const auto found = std::find_if(std::begin(kKnown), std::end(kKnown),
                                    [space](const KnownKeys& known) { return known.space == space; });
    return found == std::end(kKnown) ? nullptr : found;
}

/// A namespace of a request.
struct Space {
    const Configuration_t configuration;
    const KnownKeys* known;
    Rank rank;

    explicit Space(const Configuration_t& configuration) : configuration(configuration) {
        const std::string name = configuration.GetNamespace().ToUtf8();
        known = FindKnown(name);
        const bool isOfTheNode =
            std::any_of(std::begin(kBeginningsOfTheNode), std::end(kBeginningsOfTheNode),
                        [&name](std::string_view beginning) { return name.starts_with(beginning); });
        rank = known ? Rank::Known : HoldsStates(name) ? Rank::States : isOfTheNode ? Rank::OfTheNode : Rank::Other;
    }
    bool Knows(const String_t& key) const {
        if (!known) return false;
        const std::string name = key.ToUtf8();
        return std::find(known->keys.begin(), known->keys.end(), name) != known->keys.end();
    }
};

std::vector<Space> InOrder(const ConfigGroup_t& group) {
    std::vector<Space> all;
    for (int i = 0; i < group.GetConfigCount(); ++i) all.emplace_back(group.GetConfig(i));
    std::vector<Space> ordered;
    ordered.reserve(all.size());
    for (const Rank rank : {Rank::Known, Rank::States, Rank::OfTheNode, Rank::Other})
        std::copy_if(all.begin(), all.end(), std::back_inserter(ordered),
                     [rank](const Space& space) { return space.rank == rank; });
    return ordered;
}

/// Collects names until there are too many; the rest is counted.
class Names {
public:
    void AddNamespace(const Space& space) {
        if (HasRoom()) text += (text.empty() ? "" : "; ") + Marked(space.configuration.GetNamespace(), '[', ']');
    }
    /// The keys that the node knows; a namespace without one is not told here.
    void AddKnown(const Space& space) {
        if (!space.known) return;
        AddIf(space, [&space](const String_t& key) { return space.Knows(key); });
    }
    /// A namespace of words for states with its first keys: so many that each of these namespaces is told.
    void AddStates(const Space& space) {
        if (space.rank != Rank::States) return;
        String_t name, value;
        if (!space.configuration.GetAttr(0, name, value)) return AddNamespace(space);
        int seen = 0;
        AddIf(space, [&seen](const String_t&) { return seen++ < kMostStates; });
    }
    /// All others, and the namespaces that have none at all.
    void AddOther(const Space& space) {
        String_t name, value;
        const bool isTold = space.rank == Rank::States;
        if (!space.configuration.GetAttr(0, name, value)) return isTold ? void() : AddNamespace(space);
        int seen = 0;
        AddIf(space, [&](const String_t& key) { return isTold ? seen++ >= kMostStates : !space.Knows(key); });
    }
    std::string Take() {
        if (text.empty()) text = "nothing";
        if (left > 0) text += "; and " + std::to_string(left) + " more";
        return std::move(text);
    }

private:
    bool HasRoom() {
        if (told++ < kMostNames) return true;
        ++left;
        return false;
    }
    template <class Wanted>
    void AddIf(const Space& space, const Wanted& isWanted) {
        bool isFirst = true;
        String_t name, value;
        for (int i = 0; space.configuration.GetAttr(i, name, value); ++i) {
            if (!isWanted(name)) continue;
            if (isFirst) AddNamespace(space);
            if (HasRoom()) text += (isFirst ? " " : ", ") + Marked(name, '\'', '\'');
            isFirst = false;
        }
    }

    std::string text;
    int told = 0, left = 0;
};

}  // namespace

String_t ChangedNames(const String_t& package, const ConfigGroup_t& group, Reach reach) {
    Names names;
    const std::vector<Space> spaces = InOrder(group);
    if (reach == Reach::Namespaces) {
        for (const Space& space : spaces) names.AddNamespace(space);
    } else {
        for (const Space& space : spaces) names.AddKnown(space);
        for (const Space& space : spaces) names.AddStates(space);
        for (const Space& space : spaces) names.AddOther(space);
    }
    std::string text = names.Take();
    if (package.IsNotEmpty()) text += ", of the package " + Marked(package, '\'', '\'');
    return String_t::FromUtf8(text);
}

}  // namespace LumConfPar
