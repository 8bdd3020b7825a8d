#include "lumcluster/StatusText.h"

#include <algorithm>
#include <sstream>

#include "lumcluster/Command.h"
#include "lumcluster/StateMarks.h"

namespace lumcluster {

using lumtools::Printable;
using lumtools::Table, lumtools::TableLayout;
using nlohmann::ordered_json;

namespace {

constexpr int kUnknownId = 65535;

std::string Line(const char* label, const std::string& text) {
    std::string line = label;
    line.resize(10, ' ');
    return line + Printable(text) + "\n";
}

std::string Lines(Table& table, const TableLayout& layout) {
    table.KeepWhole(0);
    std::ostringstream out;
    table.Print(out, layout);
    return "\n" + out.str();
}

std::string Head(const Sight& sight, const Follower& follower, const Keys& keys) {
    std::string text;
    if (sight.isClusterSeen) text += Line("cluster", sight.cluster + " (" + sight.product + "), " + sight.state);
    text += Line("this node", sight.local.name + (sight.local.isConfigured ? "" : " (" + sight.local.Source() + ")"));
    text += Line("monitor", follower.Sentence());
    if (!keys.monitorMode.empty() && !keys.isMonitorModeOn)
        text += Line("", "MONITOR_MODE is off: nothing is switched");
    return text;
}

std::string NodesOf(const Sight& sight, const TableLayout& layout) {
    Table table({"NODE", "ID", "STATE", ""});
    for (const NodeFacts& node : sight.nodes) {
        table.Add({node.name, node.id == kUnknownId ? "?" : std::to_string(node.id),
                   StateWithDetail(node.state, node.detail), node.isLocal ? "this node" : ""});
    }
    table.SetMarks(2, MarkOfState);
    return sight.nodes.empty() ? "" : Lines(table, layout);
}

std::string GroupsOf(const Sight& sight, const TableLayout& layout) {
    Table table({"GROUP", "STATE", "HERE", "ACTIVE NODE", "ADDRESS"});
    for (const GroupFacts& group : sight.groups) {
        table.Add({group.name, StateWithDetail(group.state, group.detail), group.localState, group.activeNode,
                   group.address.value_or("?")});
    }
    table.SetMarks(1, MarkOfState);
    table.SetMarks(2, MarkOfStateHere);
    return sight.groups.empty() ? "" : Lines(table, layout);
}

std::string ApplicationsOf(const Sight& sight, const TableLayout& layout) {
    Table table({"APPLICATION", "INSTANCE", "GROUP", "STATE", "ACTIVE NODE", ""});
    for (const ApplicationFacts& application : sight.applications) {
        for (const InstanceFacts& instance : application.instances) {
            table.Add({application.name, instance.name, instance.group, instance.state, instance.activeNode,
                       instance.isHere ? "here" : ""});
        }
        if (application.instances.empty()) table.Add({application.name, "", "", "", "", ""});
    }
    table.SetMarks(3, MarkOfState);
    return sight.applications.empty() ? "" : Lines(table, layout);
}

/// Their commands have not run where they are now.
std::string ChangedUnwatched(const Follower& follower, const TableLayout& layout) {
    if (!follower.record || follower.record->changed.empty()) return "";
    Table table({"CHANGED SIDES UNWATCHED", "INSTANCE", "GROUP", ""});
    for (const lumtools::InstanceSide& side : follower.record->changed) {
        table.Add({side.application, side.name, side.group, side.here ? "has come" : "has left"});
    }
    return Lines(table, layout);
}

ordered_json ToJson(const NodeFacts& node) {
    return {
        {"name", node.name}, {"id", node.id}, {"state", node.state}, {"local", node.isLocal}, {"detail", node.detail}};
}

ordered_json ToJson(const GroupFacts& group) {
    return {{"name", group.name},
            {"id", group.id},
            {"state", group.state},
            {"local_state", group.localState},
            {"active_node", group.activeNode},
            {"address", group.address ? ordered_json(*group.address) : ordered_json(nullptr)},
            {"detail", group.detail},
            {"everywhere", group.isEverywhere}};
}

ordered_json ToJson(const InstanceFacts& instance) {
    return {{"name", instance.name},
            {"group", instance.group},
            {"state", instance.state},
            {"active_node", instance.activeNode},
            {"here", instance.isHere}};
}

ordered_json ToJson(const ApplicationFacts& application);
ordered_json ToJson(const Problem& problem);

template <class T>
ordered_json ListOf(const std::vector<T>& values) {
    ordered_json list = ordered_json::array();
    for (const T& value : values) list.push_back(ToJson(value));
    return list;
}

ordered_json ToJson(const ApplicationFacts& application) {
    return {
        {"name", application.name}, {"policies", application.policies}, {"instances", ListOf(application.instances)}};
}

ordered_json ToJson(const Problem& problem) {
    ordered_json object{{"what", problem.what}, {"messages", ordered_json::array()}};
    for (const auto& line : problem.outcome.messages) {
        object["messages"].push_back({{"level", line.level}, {"text", line.text}});
    }
    return object;
}

}  // namespace

std::string TextOf(const Sight& sight, const Follower& follower, const Keys& keys, const TableLayout& layout) {
    return Head(sight, follower, keys) + NodesOf(sight, layout) + GroupsOf(sight, layout) +
           ApplicationsOf(sight, layout) + ChangedUnwatched(follower, layout);
}

ordered_json ToJson(const Sight& sight, const Follower& follower, const Keys& keys) {
    ordered_json object{{"schema", kSchema}};
    object["cluster"] = nullptr;
    if (sight.isClusterSeen) {
        object["cluster"] = {{"product", sight.product}, {"name", sight.cluster}, {"state", sight.state}};
    }
    object["local_name"] = sight.local.name;
    object["local_name_configured"] = sight.local.isConfigured;
    object["monitor"] = ToJson(follower, keys);
    object["nodes"] = ListOf(sight.nodes);
    object["groups"] = ListOf(sight.groups);
    object["applications"] = ListOf(sight.applications);
    object["problems"] = ListOf(sight.problems);
    return object;
}

}  // namespace lumcluster
