#include "lumcluster/Checks.h"

#include <algorithm>
#include <chrono>

#include "LumConfCluster/ClusterType.h"
#include "LumPalDaemon.h"
#include "LumPalIo.h"
#include "LumPalKeys.h"
#include "LumPalRuntime.h"
#include "common/Arguments.h"
#include "common/ClusterProduct.h"
#include "common/Counted.h"
#include "lumcluster/Look.h"

namespace lumcluster {

using LumConfCluster::ClusterType;
using LumPalIo::File_t;
using lumtools::Counted;
using State = Finding::State;

namespace {

constexpr int kUnknownId = 65535;
/// A cluster may have hundreds, and each costs some runs of tools. What fails for one mostly fails for all.
constexpr std::size_t kMostGroupsAsked = 16;
/// Most commands have ended by then.
constexpr std::int64_t kUsualCommandSeconds = 60;

std::string MessagesOf(const lumtools::Outcome& outcome) {
    std::string text;
    for (const lumtools::MessageLine& line : outcome.messages) text += (text.empty() ? "" : " ") + line.text;
    return text;
}

bool IsProduct(const std::string& name) {
    return LumConfCluster::NamedType(lumtools::Text(name)) != ClusterType::Unknown;
}

void CheckConfiguration(const lumtools::UnconfiguredProduct& product, Findings& findings) {
    const std::string daemon = DaemonFile(product.type), file = ConfigurationFile(product.type);
    const std::string there = std::string("'") + DisplayText(product.type) + "': '" + daemon + "' is there, but ";
    if (!product.isHidden) {
        return findings.push_back({State::Failed, "product", there + "'" + file + "' is not: no node of a cluster",
                                   "set the cluster up, and restart lumconfd"});
    }
    findings.push_back({State::Failed, "product", there + "this user may not see whether '" + file + "' is",
                        "put the daemon's user into the group that may read it, and restart lumconfd"});
}

/// Of some products an answer is empty when its tool fails.
void CheckEmpty(const char* what, const std::vector<std::string>& groups, Findings& findings) {
    if (groups.empty()) return;
    std::string names;
    for (const std::string& group : groups) names += (names.empty() ? "'" : ", '") + group + "'";
    findings.push_back({State::Note, std::string("tools (") + what + ")", "none is told of the groups " + names,
                        "nothing, if they have none; else let the daemon's user run the tool that tells it: "
                        "docs/clusters.md names it"});
}

void CheckAnswers(const GroupAnswers& answers, Findings& findings) {
    for (const Problem& problem : answers.failed) {
        findings.push_back({State::Warning, "tools (" + problem.what + ")", MessagesOf(problem.outcome),
                            "let the daemon's user run that line; policies follow without it, but lumclusterinfo and "
                            "status cannot tell it"});
    }
    CheckEmpty("addresses", answers.withoutAddress, findings);
    CheckEmpty("nodes of groups", answers.withoutNodes, findings);
}

Finding RunningCommands(const Follower& follower) {
    using namespace std::chrono;
    const std::int64_t now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    const std::string limit = "lumsettings set conf.cluster COMMAND_TIMEOUT=SECONDS limits each of the next ones";
    if (now - follower.record->begunAt < kUsualCommandSeconds) {
        return {State::Note, "monitor", follower.Sentence(), "nothing, if they end soon; " + limit};
    }
    return {State::Failed, "monitor", follower.Sentence(), "end the one that hangs, a child of lumconfd; " + limit};
}

/// Some products have the case of names count.
void CheckAlike(const Sight& sight, Findings& findings) {
    for (const GroupFacts& group : sight.groups) {
        const GroupFacts* const first = sight.FindGroup(group.name);
        if (first->name == group.name) continue;
        findings.push_back({State::Note, "tools",
                            "the groups '" + first->name + "' and '" + group.name +
                                "' differ in case only: whoever names one of them means the first",
                            "give one of them another name, if policies or instances are to follow it"});
    }
}

}  // namespace

Subject Subject::Take() {
    Subject subject;
    subject.keys = Keys::Read();
    subject.sight = Look(subject.keys, nullptr);
    subject.answers = AskOfGroups(subject.sight, kMostGroupsAsked);
    subject.follower = Follower::Read();
    // A node that never had a policy has no folder for them.
    if (File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Policies)).Exists()) {
        subject.policyProblem = MessagesOf(lumtools::Attempt([&subject] { subject.policies.CheckPolicy(); }));
    }
    const File_t lock(LumPalRuntime::RootLock_t::GetPath());
    const File_t root(LumPalRuntime::Dir_t::Path(LumPalRuntime::Root));
    subject.isOwner = (lock.Exists() ? lock : root).IsOwnedByThisUser();
    return subject;
}

void CheckUser(const Subject& subject, Findings& findings) {
    if (subject.isOwner) return findings.push_back({State::Ok, "user", "this user is the one that owns the node", ""});
    findings.push_back({State::Warning, "user",
                        "this user does not own the node: what follows holds for this user alone, and the tools of the "
                        "product may answer him otherwise than the daemon",
                        "run it as the user that owns the node's root, with the LUM_SUDO of the daemon's unit"});
}

void CheckDaemon(const Subject& subject, Findings& findings) {
    const std::string word = subject.follower.Word(), sentence = subject.follower.Sentence();
    if (subject.follower.AreCommandsRunning()) return findings.push_back(RunningCommands(subject.follower));
    if (subject.follower.IsHindered()) {
        return findings.push_back({State::Failed, "monitor", sentence, "mend what hinders it; nothing else is needed"});
    }
    if (word == "watching") return findings.push_back({State::Ok, "monitor", sentence, ""});
    if (word == "starting") {
        return findings.push_back(
            {State::Note, "monitor", sentence, "the tools of the product must answer; see below"});
    }
    if (word == "waiting") {
        return findings.push_back(
            {State::Failed, "monitor", sentence, "mend what has ended it; nothing else is needed"});
    }
    if (word == "none") return findings.push_back({State::Failed, "monitor", sentence, "restart lumconfd"});
    if (word == "no daemon") return findings.push_back({State::Failed, "monitor", sentence, "start lumconfd"});
    findings.push_back(
        {State::Warning, "monitor", sentence, "run it as the user that owns the node's root, or as root"});
}

void CheckProduct(const Subject& subject, Findings& findings) {
    const ClusterType found = lumtools::FindClusterProduct().value_or(ClusterType::Unknown);
    const std::string name = DisplayText(found), wanted = subject.keys.type;
    if (const auto half = lumtools::FindUnconfiguredProduct(); half && found == ClusterType::Unknown) {
        return CheckConfiguration(*half, findings);
    }
    if (found == ClusterType::Unknown) {
        return findings.push_back({State::Failed, "product", "no product's daemon file is there",
                                   "a node without a cluster needs nothing; else install the product"});
    }
    const std::string there = "'" + name + "': '" + DaemonFile(found) + "' is there";
    if (IsProduct(wanted) && wanted != name) {
        return findings.push_back({State::Failed, "product", there + ", but CLUSTER_TYPE is '" + wanted + "'",
                                   "lumsettings set conf.cluster 'CLUSTER_TYPE=" + name + "'"});
    }
    findings.push_back({State::Ok, "product", there, ""});
}

void CheckTools(const Subject& subject, Findings& findings) {
    const Sight& sight = subject.sight;
    for (const Problem& problem : sight.problems) {
        if (problem.what == kApplications) continue;
        findings.push_back({State::Failed, "tools (" + problem.what + ")", MessagesOf(problem.outcome),
                            "let the daemon's user run that line; docs/clusters.md tells of rights and LUM_SUDO"});
    }
    if (!sight.isClusterSeen) return;
    if (sight.problems.empty() || sight.HasProblem(kApplications)) {
        findings.push_back({State::Ok, "tools",
                            "the cluster '" + sight.cluster + "' is " + sight.state + ", with " +
                                Counted(sight.nodes.size(), "node") + " and " + Counted(sight.groups.size(), "group"),
                            ""});
    }
    CheckAnswers(subject.answers, findings);
    // Pacemaker tells it with the node: one that is not told is above those that count here.
    const bool mayLackIds = sight.product == DisplayText(ClusterType::Pcmk);
    for (const NodeFacts& node : sight.nodes) {
        if (mayLackIds || node.id != kUnknownId || !node.detail.empty()) continue;
        findings.push_back({State::Warning, "tools", "the id of the node '" + node.name + "' cannot be asked for",
                            "ask the product's tools for it as the daemon's user"});
    }
    CheckAlike(sight, findings);
    for (const GroupFacts& group : sight.groups) {
        if (group.isEverywhere) {
            findings.push_back({State::Note, "tools",
                                "the group '" + group.name +
                                    "' runs as copies on several nodes: it has no active node, so that no policy can "
                                    "follow it",
                                "let policies that belong to it name no group"});
        }
        if (group.state != kUnknown) continue;
        const std::string why = group.detail.empty() ? "" : " (" + group.detail + ")";
        findings.push_back({State::Warning, "tools", "the state of the group '" + group.name + "' is unknown" + why,
                            "as long as it is, what belongs to the group is off on every node"});
    }
}

void CheckLocalName(const Subject& subject, Findings& findings) {
    const Sight& sight = subject.sight;
    if (!sight.isClusterSeen || sight.HasProblem(kNodes)) return;
    const std::string name = "'" + sight.local.name + "' (" + sight.local.Source() + ")";
    const bool isNode =
        std::any_of(sight.nodes.begin(), sight.nodes.end(), [](const NodeFacts& n) { return n.isLocal; });
    if (isNode) return findings.push_back({State::Ok, "local name", name + " is a node of the cluster", ""});
    std::string nodes;
    for (const NodeFacts& node : sight.nodes) nodes += (nodes.empty() ? "" : ", ") + node.name;
    findings.push_back({State::Failed, "local name", name + " is no node of the cluster, or has no address: " + nodes,
                        "lumsettings set conf.cluster CLUSTER_LOCAL_NODENAME=NAME, with the name to the letter"});
}

void CheckKeys(const Subject& subject, Findings& findings) {
    const Keys& keys = subject.keys;
    if (keys.toolTimeoutSeconds > 0) {
        findings.push_back({State::Ok, LumPalKeys::ToolTimeoutKey, keys.toolTimeout + " seconds", ""});
    } else {
        findings.push_back({State::Warning, LumPalKeys::ToolTimeoutKey, "a tool that hangs is waited for without limit",
                            "lumsettings set conf.cluster TOOL_TIMEOUT=30"});
    }
    if (keys.monitorMode.empty()) {
        findings.push_back(
            {State::Note, LumPalKeys::MonitorModeKey, "not set: the daemon sets it when it follows a cluster", ""});
    } else if (keys.isMonitorModeOn) {
        findings.push_back({State::Ok, LumPalKeys::MonitorModeKey, "on", ""});
    } else {
        findings.push_back({State::Failed, LumPalKeys::MonitorModeKey,
                            "'" + keys.monitorMode + "' is off: nothing is switched",
                            "lumsettings set conf.cluster MONITOR_MODE=true"});
    }
    if (keys.pollingInterval.empty() || keys.pollingIntervalMs >= 1000) return;
    findings.push_back({State::Warning, LumPalKeys::PollingIntervalKey,
                        "'" + keys.pollingInterval + "' lets the product's tools run all the time",
                        "lumsettings set conf.cluster POLLING_INTERVAL=10000 (milliseconds)"});
}

void CheckWriteBack(const Subject& subject, Findings& findings) {
    const std::string problem = WriteBackProblem(LocalName::Of(subject.keys));
    const std::vector<WriteBack> needed = WriteBacks(subject.follower, subject.keys, subject.sight);
    if (problem.empty()) {
        return findings.push_back({State::Ok, "write-back", "the monitor can set keys of this node itself", ""});
    }
    if (!needed.empty()) {
        return findings.push_back({State::Failed, "write-back",
                                   TextOf(needed) + ": the monitor would set that, and ends when it fails: " + problem,
                                   AdviceOf(needed)});
    }
    findings.push_back({State::Note, "write-back", "the monitor cannot set keys of this node: " + problem,
                        "nothing, as long as CLUSTER_TYPE, POLLING_INTERVAL and MONITOR_MODE are right; else mend "
                        "that (lumtrust gives certificates and rights)"});
}

const char* DisplayText(State state) noexcept {
    switch (state) {
        case State::Ok:
            return "ok";
        case State::Note:
            return "note";
        case State::Warning:
            return "warning";
        case State::Failed:
            return "failed";
    }
    return "";
}

namespace {

lumtools::Mark MarkOf(State state) {
    using lumtools::Mark;
    constexpr Mark kMarks[] = {Mark::Good, Mark::None, Mark::Doubtful, Mark::Bad};
    return kMarks[static_cast<int>(state)];
}

std::string LinesOf(const Finding& finding, const lumtools::TableLayout& layout) {
    constexpr std::size_t kIndent = 9;
    const std::string word = DisplayText(finding.state);
    std::string text = lumtools::Marked(word, MarkOf(finding.state), layout) + std::string(kIndent - word.size(), ' ') +
                       lumtools::PrintableLines(finding.check + ": " + finding.finding);
    if (!finding.advice.empty()) text += std::string(kIndent, ' ') + lumtools::PrintableLines("-> " + finding.advice);
    return text;
}

}  // namespace

Findings CheckAll(const Subject& subject) {
    Findings findings;
    for (auto* check : {CheckProduct, CheckUser, CheckTools, CheckLocalName, CheckKeys, CheckWriteBack,
                        CheckApplicationFiles, CheckApplications, CheckPolicies, CheckDaemon}) {
        check(subject, findings);
    }
    return findings;
}

std::string TextOf(const Findings& findings, bool isEverythingWanted, const lumtools::TableLayout& layout) {
    std::string text;
    for (const Finding& finding : findings) {
        if (isEverythingWanted || finding.state != State::Ok) text += LinesOf(finding, layout);
    }
    return text;
}

nlohmann::ordered_json ToJson(const Findings& findings) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"check", finding.check},
                        {"state", DisplayText(finding.state)},
                        {"finding", finding.finding},
                        {"advice", finding.advice}});
    }
    return list;
}

}  // namespace lumcluster
