#include "lumcluster/Changes.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "common/Table.h"

namespace lumcluster {

using nlohmann::ordered_json;

namespace {

constexpr const char *kSettings = "settings", *kNode = "node", *kGroup = "group", *kApplication = "application",
                     *kInstance = "instance";

std::string On(const std::string& node) {
    return node.empty() ? "" : " on " + node;
}

std::string FirstOf(const lumtools::Outcome& outcome) {
    return outcome.messages.empty() ? "failed" : outcome.messages.front().text;
}

std::string Joined(const std::vector<Problem>& problems) {
    std::string text;
    for (const Problem& problem : problems) {
        text += (text.empty() ? "" : "; ") + problem.what + ": " + FirstOf(problem.outcome);
    }
    return text;
}

std::string ClusterText(const Sight& sight) {
    if (!sight.problems.empty()) return "cannot be asked (" + Joined(sight.problems) + ")";
    return sight.cluster + " (" + sight.product + "), " + sight.state;
}

std::string MonitorText(const Follower& follower, const Keys& keys) {
    const bool isOff = !keys.monitorMode.empty() && !keys.isMonitorModeOn;
    const std::string hindered = follower.AreCommandsRunning() ? ", commands run"
                                 : follower.IsHindered()       ? ", policies do not follow"
                                                               : "";
    return follower.Word() + hindered + (isOff ? ", MONITOR_MODE is off" : "");
}

void Number(std::vector<Item>& items) {
    std::map<std::string, int> counts;
    for (Item& item : items) {
        const int count = ++counts[item.kind + ("\n" + item.name)];
        if (count > 1) item.name += " (" + std::to_string(count) + ")";
    }
}

using Key = std::pair<std::string, std::string>;

Key KeyOf(const Item& item) {
    return {item.kind, item.name};
}

}  // namespace

std::vector<Item> ItemsOf(const Sight& sight, const Follower& follower, const Keys& keys) {
    std::vector<Item> items{
        {kSettings, "", "read"}, {"cluster", "", ClusterText(sight)}, {"monitor", "", MonitorText(follower, keys)}};
    for (const NodeFacts& node : sight.nodes)
        items.push_back({kNode, node.name, StateWithDetail(node.state, node.detail)});
    for (const GroupFacts& group : sight.groups) {
        items.push_back({kGroup, group.name, StateWithDetail(group.state, group.detail) + On(group.activeNode)});
    }
    for (const ApplicationFacts& application : sight.applications) {
        items.push_back({kApplication, application.name, "policies: " + std::to_string(application.policies.size())});
        for (const InstanceFacts& instance : application.instances) {
            items.push_back({kInstance, application.name + "::" + instance.name,
                             instance.state + On(instance.activeNode) + (instance.isHere ? ", here" : ", not here")});
        }
    }
    Number(items);
    return items;
}

bool Changes::IsUnseen(const Item& item, const Sight& sight) {
    const std::string kind = item.kind;
    if (!sight.isClusterSeen) return true;
    if (kind == kNode) return sight.HasProblem(kNodes);
    if (kind == kGroup) return sight.HasProblem(kGroups);
    return sight.HasProblem(kGroups) || sight.HasProblem(kApplications);
}

std::vector<Change> Changes::Take(const Sight& sight, std::vector<Item> items) {
    std::map<Key, std::string> former;
    std::set<Key> present;
    for (const Item& item : last) former.emplace(KeyOf(item), item.is);
    std::vector<Change> changes;
    for (const Item& item : items) {
        present.insert(KeyOf(item));
        const auto found = former.find(KeyOf(item));
        if (found == former.end()) {
            changes.push_back({item.kind, item.name, std::nullopt, item.is});
        } else if (found->second != item.is) {
            changes.push_back({item.kind, item.name, found->second, item.is});
        }
    }
    for (const Item& item : last) {
        if (present.contains(KeyOf(item))) continue;
        if (IsUnseen(item, sight)) {
            items.push_back(item);
        } else {
            changes.push_back({item.kind, item.name, item.is, std::nullopt});
        }
    }
    last = std::move(items);
    return changes;
}

std::vector<Change> Changes::TakeUnread(const lumtools::Outcome& outcome) {
    return Take(Sight(), {{kSettings, "", "cannot be read (" + FirstOf(outcome) + ")"}});
}

std::string LineOf(const Change& change, const std::string& time) {
    const std::string subject = std::string(change.kind) + (change.name.empty() ? "" : " " + change.name);
    std::string line = time + " " + subject + ": " + change.is.value_or("gone");
    if (change.was) line += " (was " + *change.was + ")";
    return lumtools::Printable(line);
}

ordered_json ToJson(const Change& change, const std::string& time) {
    const auto orNull = [](const std::optional<std::string>& text) {
        return text ? ordered_json(*text) : ordered_json(nullptr);
    };
    return {{"time", time},
            {"kind", change.kind},
            {"name", change.name},
            {"was", orNull(change.was)},
            {"is", orNull(change.is)}};
}

}  // namespace lumcluster
