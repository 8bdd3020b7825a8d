// The tools of Sun Cluster. No output of theirs is recorded; this is what their manual pages tell: a value a line, the
// elements of a list a line each, and a line with the type before the value of an extension property.
#include "Answers.h"

namespace sim {
namespace {

const StateNames kSystemWords{{"online", "UP"}, {"offline", "DOWN"}, {"unknown", "UNKNOWN"}};
const StateNames kGroupWords{{"online", "ONLINE"},
                             {"offline", "OFFLINE"},
                             {"partial", "PENDING_ONLINE"},
                             {"faulted", "ERROR_STOP_FAILED"},
                             {"unknown", "UNMANAGED"}};

Answer NotUnderstood() {
    return Refused("invalid optag");
}

std::vector<std::string> SystemsOf(const Group& group) {
    std::vector<std::string> names;
    for (const auto& [system, priority] : group.systems) names.push_back(system);
    return names;
}

template <class Item>
std::vector<std::string> NamesOf(const std::vector<Item>& items) {
    std::vector<std::string> names;
    for (const Item& item : items) names.push_back(item.name);
    return names;
}

Answer OfSystem(const Description& cluster, const std::string& tag, const std::string& name) {
    const System* system = cluster.FindSystem(name);
    if (!system) return Refused("invalid node", 11);
    if (tag == "NODEID_NODENAME") return Line(system->id);
    if (tag == "NODESTATE_NODE") return Line(Word(kSystemWords, system->state));
    return NotUnderstood();
}

Answer ClusterGet(const Description& cluster, const Words& words) {
    if (words == Words{"-O", "CLUSTERNAME"}) return Line(cluster.name);
    if (words == Words{"-O", "NODESTATE_LOCAL"}) return OfSystem(cluster, "NODESTATE_NODE", cluster.host);
    if (words == Words{"-O", "ALL_NODENAMES"}) return Lines(NamesOf(cluster.systems));
    if (words == Words{"-O", "ALL_RESOURCEGROUPS"}) return Lines(NamesOf(cluster.groups));
    if (words.size() == 3 && words[0] == "-O") return OfSystem(cluster, words[1], words[2]);
    return NotUnderstood();
}

Answer OfGroup(const Description& cluster, const Group& group, const Words& words) {
    const auto stateOn = [&](const std::string& system) { return Line(Word(kGroupWords, StateOn(group, system))); };
    if (words[1] == "RG_STATE" && words.size() == 4) return stateOn(cluster.host);
    if (words[1] == "RG_STATE_NODE" && words.size() == 5) {
        return cluster.FindSystem(words[4]) ? stateOn(words[4]) : Refused("invalid node", 11);
    }
    if (words[1] == "NODELIST" && words.size() == 4) return Lines(SystemsOf(group));
    if (words[1] == "RESOURCE_LIST" && words.size() == 4) return Lines(NamesOf(group.resources));
    return NotUnderstood();
}

Answer GroupGet(const Description& cluster, const Words& words) {
    if (words.size() < 4 || words[0] != "-O" || words[2] != "-G") return NotUnderstood();
    const Group* group = cluster.FindGroup(words[3]);
    return group ? OfGroup(cluster, *group, words) : Refused("invalid resource group name", 5);
}

Answer ResourceGet(const Description& cluster, const Words& words) {
    if (words.size() < 4 || words[0] != "-O" || words[2] != "-R") return NotUnderstood();
    const Resource* resource = cluster.FindResource(words[3]);
    if (!resource) return Refused("invalid resource name", 7);
    const bool isHostName = resource->type == "IP";
    if (words[1] == "IS_LOGICAL_HOSTNAME" && words.size() == 4) return Line(isHostName ? "TRUE" : "FALSE");
    if (words == Words{"-O", "EXTENSION", "-R", words[3], "HostnameList"} && isHostName) {
        return Lines({"STRINGARRAY", resource->address});
    }
    return Refused("invalid property name", 4);
}

const Product kSun("sc", "/usr/cluster/lib/sc/clexecd",
                   {{"/usr/cluster/bin/scha_cluster_get", ClusterGet},
                    {"/usr/cluster/bin/scha_resourcegroup_get", GroupGet},
                    {"/usr/cluster/bin/scha_resource_get", ResourceGet}});

}  // namespace
}  // namespace sim
