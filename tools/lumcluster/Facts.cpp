#include "lumcluster/Facts.h"

#include <algorithm>

#include "ConfBase.h"
#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumPalNet.h"
#include "common/Arguments.h"

namespace lumcluster {

using LumPalNet::InetAddress_t;
using lumtools::Text;

Keys Keys::Read() {
    const LumPalConfig::Configuration_t keys = LumConf::ConfBase::Get_NS_ConfCluster().Open();
    const auto value = [&keys](const char* key) { return keys.GetValue(key).ToUtf8(); };
    return {value(LumPalKeys::ClusterTypeKey),           value(LumPalKeys::ClusterLocalNodenameKey),
            value(LumPalKeys::PollingIntervalKey),       value(LumPalKeys::MonitorModeKey),
            value(LumPalKeys::ToolTimeoutKey),           keys.GetBool(LumPalKeys::MonitorModeKey),
            keys.GetInt(LumPalKeys::PollingIntervalKey), keys.GetInt(LumPalKeys::ToolTimeoutKey)};
}

LocalName LocalName::Of(const Keys& keys) {
    if (!keys.localNodeName.empty()) return {keys.localNodeName, true};
    return {InetAddress_t::GetLocalHost().GetHostName().ToUtf8(), false};
}

std::string LocalName::Source() const {
    if (isConfigured) return LumPalKeys::ClusterLocalNodenameKey;
    return isTold ? "told by the cluster" : "the system's own name";
}

bool HasAddress(const std::string& name) {
    try {
        const InetAddress_t address{Text(name)};
        return true;
    } catch (const LumPalMsg::Exception_t&) {
        return false;
    }
}

Comparison Comparison::Of(const LocalName& local, const std::string& node, const Resolves& resolves) {
    Comparison made{node, local.name, local.Source(), local.isConfigured, true, node == local.name};
    // Another name is another node, whatever its address: nobody needs to be asked.
    if (!made.isSame || local.isConfigured || local.isTold) return made;
    made.hasAddress = made.isSame = resolves(node);
    return made;
}

std::string Comparison::Sentence() const {
    if (node.empty()) return "no active node; this one is '" + local + "' (" + source + ")";
    if (!hasAddress) return "'" + node + "' is this node by its name (" + source + "), but has no address";
    return "'" + node + "' is " + (isSame ? "" : "not ") + "'" + local + "' (" + source + ")";
}

std::string StateWithDetail(const std::string& state, const std::string& detail) {
    return detail.empty() ? state : state + " (" + detail + ")";
}

std::string FirstMessage(const lumtools::Outcome& outcome) {
    std::string text = outcome.messages.empty() ? "" : outcome.messages.front().text;
    if (text.ends_with('.')) text.pop_back();
    return text;
}

bool Sight::HasProblem(const char* what) const {
    return std::any_of(problems.begin(), problems.end(),
                       [what](const Problem& problem) { return problem.what == what; });
}

bool Sight::AreGroupsSeen() const {
    return isClusterSeen && !HasProblem(kGroups);
}

std::string Sight::WhyApplicationsAreMissing() const {
    if (!isApplicationListThere) return "";
    for (const Problem& problem : problems) {
        const std::string why = FirstMessage(problem.outcome);
        if (problem.what == kApplications) return "the applications cannot be read to their end: " + why;
        if (problem.what == kCluster || problem.what == kGroups) {
            return "the applications cannot be read without the groups of the cluster: " + why;
        }
    }
    return "";
}

const GroupFacts* Sight::FindGroup(const std::string& name) const {
    const LumPalStr::String_t wanted = Text(name).ToLower();
    for (const GroupFacts& group : groups) {
        if (Text(group.name).ToLower() == wanted) return &group;
    }
    return nullptr;
}

}  // namespace lumcluster
