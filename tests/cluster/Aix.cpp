// The tools of AIX HACMP. What clRGinfo prints is that of tests/data/recorded/hacmp; the output of clstat has the lines
// that are known of it; of clgetip nothing is known but that it prints an address.
#include "Answers.h"

namespace sim {
namespace {

const StateNames kSystemWords{{"online", "UP"}, {"offline", "DOWN"}, {"unknown", "UNKNOWN"}};
const StateNames kGroupWords{{"online", "ONLINE"},
                             {"offline", "OFFLINE"},
                             {"partial", "ACQUIRING"},
                             {"faulted", "ERROR"},
                             {"unknown", "UNKNOWN"}};

Answer NotUnderstood() {
    return Refused("This call is not understood.");
}

std::string StateOfCluster(const Description& cluster) {
    for (const System& system : cluster.systems) {
        if (system.state == "online") return "UP";
    }
    return "DOWN";
}

/// An interface's state stands in a line of its own, behind its address.
std::string NodeText(const Description& cluster, const System& system) {
    const std::string state = Word(kSystemWords, system.state);
    std::string text = "\tNode: " + Column(system.name, 20) + "State: " + state + "\n" +
                       "\t   Interface: " + Column(system.name + "_en0", 16) + "(0)\tAddress: 192.0.2.1\n" +
                       "\t\t\t\t\tState: " + state + "\n";
    for (const Group& group : cluster.groups) {
        if (OwnerOf(group) == system.name) text += "\t   Resource Group: " + Column(group.name, 20) + "State: online\n";
    }
    return text;
}

Answer Clstat(const Description& cluster, const Words& words) {
    if (words != Words{"-o"}) return NotUnderstood();
    std::string text = "Cluster: " + Column(cluster.name, 20) + "(1100160000)\nSun Nov 22 10:00:00 2026\n" +
                       "\t\tState: " + Column(StateOfCluster(cluster), 12) +
                       "Nodes: " + std::to_string(cluster.systems.size()) + "\n\t\tSubState: STABLE\n\n";
    for (const System& system : cluster.systems) text += NodeText(cluster, system);
    return {text, "", 0};
}

Answer ClRGinfo(const Description& cluster, const Words& words) {
    if (words != Words{"-s"}) return NotUnderstood();
    Answer answer;
    for (const Group& group : cluster.groups) {
        for (const auto& [system, priority] : group.systems) {
            answer.out += group.name + ":" + Word(kGroupWords, StateOn(group, system)) + ":" + system +
                          ":non-concurrent:OHN:FNPN:NFB:ignore::: : :::\n";
        }
    }
    return answer;
}

Answer Clgetip(const Description& cluster, const Words& words) {
    const Group* group = words.size() == 1 ? cluster.FindGroup(words[0]) : nullptr;
    if (!group) return NotUnderstood();
    for (const Resource& resource : group->resources) {
        if (resource.type == "IP") return Line(resource.address);
    }
    return Refused("The group has no address.");
}

const Product kAix("hacmp", "/usr/es/sbin/cluster/clstrmgr",
                   {{"/usr/es/sbin/cluster/clstat", Clstat},
                    {"/usr/es/sbin/cluster/utilities/clRGinfo", ClRGinfo},
                    {"/usr/es/sbin/cluster/utilities/clgetip", Clgetip}});

}  // namespace
}  // namespace sim
