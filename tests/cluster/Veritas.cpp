// The tools of VERITAS Cluster Server. Words, headings and columns are those of the recordings in
// tests/data/recorded/vcs; where there is none, the least that a caller can expect.
#include <algorithm>

#include "Answers.h"

namespace sim {
namespace {

const StateNames kSystemWords{{"online", "RUNNING"}, {"offline", "EXITED"}, {"unknown", "UNKNOWN"}};
const StateNames kGroupWords{{"online", "|ONLINE|"},
                             {"offline", "|OFFLINE|"},
                             {"partial", "|PARTIAL|"},
                             {"faulted", "|OFFLINE|FAULTED|"},
                             {"unknown", "|UNKNOWN|"}};

Answer Refusal(const std::string& number, const std::string& text) {
    return Refused("VCS WARNING V-16-1-" + number + " " + text);
}

Answer NotUnderstood() {
    return Refusal("10600", "Cannot understand this call");
}

Answer NoSystem(const std::string& name) {
    return Refusal("10200", "System '" + name + "' is unknown");
}

Answer NoGroup(const std::string& name) {
    return Refusal("40131", "Group '" + name + "' is not in the cluster");
}

Answer NoResource(const std::string& name) {
    return Refusal("40130", "Resource '" + name + "' is not in the cluster");
}

// Tables.

struct Row {
    std::string name, system, value;
};

/// The column of names grows with the longest one, in steps of four.
std::size_t NameWidth(const std::vector<Row>& rows) {
    std::size_t longest = 12;
    for (const Row& row : rows) longest = std::max(longest, row.name.size());
    return (longest + 3) / 4 * 4 + 1;
}

Answer Table(const std::string& heading, const std::string& attribute, const std::vector<Row>& rows,
             bool separators = false) {
    const std::size_t width = NameWidth(rows);
    std::string text = Column(heading, width) + Column("Attribute", 22) + Column("System", 11) + "Value\n";
    const Row* last = nullptr;
    for (const Row& row : rows) {
        if (separators && last && last->name != row.name) text += "#\n";
        text += Column(row.name, width) + Column(attribute, 22) + Column(row.system, 11) + row.value + "\n";
        last = &row;
    }
    return {text, "", 0};
}

// What is so.

std::string WordOn(const Group& group, const std::string& system) {
    return Word(kGroupWords, StateOn(group, system));
}

std::string StateAnywhere(const Group& group) {
    if (!group.state.empty()) return Word(kGroupWords, group.state);
    return Word(kGroupWords, OwnerOf(group).empty() ? "offline" : "online");
}

/// Tabs between the pairs, a blank inside them.
std::string SystemList(const Group& group) {
    std::string text;
    for (const auto& [system, priority] : group.systems) {
        text += (text.empty() ? "" : "\t") + system + " " + priority;
    }
    return text;
}

/// An attribute that a group was given; that of its systems follows from them.
std::string AttributeOf(const Group& group, const std::string& attribute) {
    const auto found = group.attributes.find(attribute);
    if (found != group.attributes.end()) return found->second;
    return attribute == "SystemList" ? SystemList(group) : "";
}

// The tools.

Answer Haclus(const Description& cluster, const Words& words) {
    if (words == Words{"-value", "ClusterName"}) return Line(cluster.name);
    return NotUnderstood();
}

Answer ListOfSystems(const Description& cluster) {
    Answer answer;
    for (const System& system : cluster.systems) {
        answer.out += (system.site.empty() ? "" : system.site + ":") + system.name + "\n";
    }
    return answer;
}

Answer ValueOfSystem(const System& system, const std::string& attribute) {
    if (attribute == "NodeId") return Line(system.id);
    if (attribute == "SysState") return Line(Word(kSystemWords, system.state));
    return NotUnderstood();
}

Answer Hasys(const Description& cluster, const Words& words) {
    if (words == Words{"-list"}) return ListOfSystems(cluster);
    if (words.size() < 2) return NotUnderstood();
    const System* system = cluster.FindSystem(words[1]);
    if (!system) return NoSystem(words[1]);
    if (words[0] == "-state" && words.size() == 2) return Line(Word(kSystemWords, system->state));
    if (words[0] == "-value" && words.size() == 3) return ValueOfSystem(*system, words[2]);
    return NotUnderstood();
}

Answer StateTable(const Group& group) {
    std::vector<Row> rows;
    for (const auto& [system, priority] : group.systems) rows.push_back({group.name, system, WordOn(group, system)});
    return Table("#Group", "State", rows);
}

Answer StateOnSystem(const Description& cluster, const Group& group, const std::string& system) {
    if (!cluster.FindSystem(system)) return NoSystem(system);
    if (!IsOn(group, system)) return Refusal("10554", "No group exists with system of " + system);
    return Line(WordOn(group, system));
}

/// Cluster-wide attributes of one group, or of all.
Answer AttributeTable(const Description& cluster, const std::string& attribute, const Group* only) {
    std::vector<Row> rows;
    for (const Group& group : cluster.groups) {
        if (!only || only == &group) rows.push_back({group.name, "global", AttributeOf(group, attribute)});
    }
    if (rows.empty()) return Refusal("50031", "No groups are configured");
    return Table("#Group", attribute, rows, cluster.separators);
}

Answer ValueOfGroup(const Group& group, const Words& words) {
    if (words[2] == "State") {
        return Line(words.size() == 4 ? WordOn(group, words[3]) : StateAnywhere(group));
    }
    return Line(AttributeOf(group, words[2]));
}

Answer Resources(const Group& group) {
    Answer answer;
    for (const Resource& resource : group.resources) answer.out += resource.name + "\n";
    return answer;
}

Answer Hagrp(const Description& cluster, const Words& words) {
    if (words.size() == 3 && words[0] == "-display" && words[1] == "-attribute") {
        return AttributeTable(cluster, words[2], nullptr);
    }
    if (words.size() < 2) return NotUnderstood();
    const Group* group = cluster.FindGroup(words[1]);
    if (!group) return NoGroup(words[1]);
    if (words[0] == "-display" && words.size() == 4) return AttributeTable(cluster, words[3], group);
    if (words[0] == "-state" && words.size() == 2) return StateTable(*group);
    if (words[0] == "-state" && words.size() == 4 && words[2] == "-sys") {
        return StateOnSystem(cluster, *group, words[3]);
    }
    if (words[0] == "-value" && (words.size() == 3 || words.size() == 4)) return ValueOfGroup(*group, words);
    if (words[0] == "-resources" && words.size() == 2) return Resources(*group);
    return NotUnderstood();
}

Answer Hares(const Description& cluster, const Words& words) {
    if (words.size() < 3) return NotUnderstood();
    const Resource* resource = cluster.FindResource(words[1]);
    if (!resource) return NoResource(words[1]);
    const bool isAddressed = resource->type == "IP";
    if (words == Words{"-value", words[1], "Address"} && isAddressed) return Line(resource->address);
    if (words == Words{"-display", words[1], "-attribute", "Address", "-type", "IP"} && isAddressed) {
        return Table("#Resource", "Address", {{resource->name, "global", resource->address}});
    }
    return NoResource(words[1]);
}

const Product kVeritas("vcs", "/opt/VRTSvcs/bin/had",
                       {{"/opt/VRTSvcs/bin/haclus", Haclus},
                        {"/opt/VRTSvcs/bin/hasys", Hasys},
                        {"/opt/VRTSvcs/bin/hagrp", Hagrp},
                        {"/opt/VRTSvcs/bin/hares", Hares}});

}  // namespace
}  // namespace sim
