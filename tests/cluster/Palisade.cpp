// The tools of Palisade. No real one was seen: they print the least that a caller can expect.
#include "Answers.h"
#include "Product.h"

namespace sim {
namespace {

const StateNames kNames{
    {"online", "up"}, {"offline", "down"}, {"unknown", "unknown"}, {"partial", "starting"}, {"faulted", "halting"}};

constexpr std::size_t kWidth = 15;

/// An empty line and the titles.
std::string Heading(const std::string& what) {
    return "\n" + Column(what, kWidth) + "STATUS\n";
}

std::string Row(const std::string& name, const std::string& state) {
    return Column(name, kWidth) + Word(kNames, state) + "\n";
}

// plsview.

Answer ListOfNodes(const Description& cluster, const std::string& only) {
    Answer answer{Heading("NODE"), "", 0};
    for (const System& system : cluster.systems) {
        if (only.empty() || only == system.name) answer.out += Row(system.name, system.state);
    }
    return answer;
}

std::string StateOf(const Group& group) {
    if (!group.state.empty()) return group.state;
    for (const auto& [system, state] : group.states) {
        if (state != "offline") return state;
    }
    return "offline";
}

/// Where a package of one node runs, or stands still in between.
std::string NodeOf(const Group& group) {
    for (const auto& [system, state] : group.states) {
        if (state != "offline") return system;
    }
    return "";
}

bool IsMultiNode(const Group& group) {
    return group.attributes.count("MULTI_NODE") > 0;
}

/// Three columns that nothing is known of stand between the state and the node.
std::string PackageRow(const Group& group, const std::string& node) {
    return Column(group.name, kWidth) + Column(Word(kNames, StateOf(group)), kWidth) + "- - -          " + node + "\n";
}

Answer ListOfPackages(const Description& cluster) {
    const std::string titles = Column("PACKAGE", kWidth) + Column("STATUS", kWidth) + "- - -          NODE\n";
    std::string owned, multiNode, unowned;
    for (const Group& group : cluster.groups) {
        const std::string node = NodeOf(group);
        std::string& section = IsMultiNode(group) ? multiNode : node.empty() ? unowned : owned;
        section += PackageRow(group, IsMultiNode(group) ? "" : node);
    }
    Answer answer{"\n" + titles + owned, "", 0};
    if (!multiNode.empty()) answer.out += "\nMULTI_NODE_PACKAGES\n\n" + titles + multiNode;
    if (!unowned.empty()) answer.out += "\nUNOWNED_PACKAGES\n\n" + titles + unowned;
    return answer;
}

Answer LongListing(const Description& cluster) {
    Answer answer;
    for (const Group& group : cluster.groups) {
        answer.out += Heading("PACKAGE") + Row(group.name, StateOf(group));
        for (const auto& [system, state] : group.states) {
            if (state == "online")
                answer.out += "\n  " + Column("NODE_NAME", kWidth) + "STATUS\n  " + Row(system, state);
        }
    }
    return answer;
}

Answer Plsview(const Description& cluster, const Words& words) {
    if (words == Words{"-l", "cluster"}) return {Heading("CLUSTER") + Row(cluster.name, "online"), "", 0};
    if (words == Words{"-l", "node"}) return ListOfNodes(cluster, "");
    if (words == Words{"-l", "package"}) return ListOfPackages(cluster);
    if (words == Words{"-v"}) return LongListing(cluster);
    const bool isOfOne = words.size() == 4 && words[0] == "-l" && words[1] == "node" && words[2] == "-n";
    if (!isOfOne) return Refused("plsview: not understood");
    return cluster.FindSystem(words[3]) ? ListOfNodes(cluster, words[3]) : Refused("plsview: no node " + words[3]);
}

// plsconf.

std::string Attribute(const Group& group, const std::string& name, const std::string& otherwise) {
    const auto found = group.attributes.find(name);
    return found == group.attributes.end() ? otherwise : found->second;
}

std::string Configuration(const Group& group) {
    std::string text = "\n";
    const std::string nodes = Attribute(group, "NODE_NAME", "");
    if (!nodes.empty()) text += Column("NODE_NAME", kWidth) + nodes + "\n";
    for (const auto& [system, priority] : group.systems) {
        if (nodes.empty()) text += Column("NODE_NAME", kWidth) + system + "\n";
    }
    return text + Column("RUN_SCRIPT", kWidth) + Attribute(group, "RUN_SCRIPT", "/etc/palisade/" + group.name) + "\n";
}

Answer Plsconf(const Description& cluster, const Words& words) {
    if (words.size() != 2 || words[0] != "-p") return Refused("plsconf: not understood");
    const Group* group = cluster.FindGroup(words[1]);
    return group ? Answer{Configuration(*group), "", 0} : Refused("plsconf: no package " + words[1]);
}

const Product kPalisade("plsd", "/usr/lbin/plsd", {{"/usr/sbin/plsview", Plsview}, {"/usr/sbin/plsconf", Plsconf}});

}  // namespace
}  // namespace sim
