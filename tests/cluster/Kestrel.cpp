// The tools of Kestrel. No real one was seen: they print the least that a caller can expect.
#include <unistd.h>

#include "Answers.h"
#include "Product.h"

namespace sim {
namespace {

const StateNames kMemberNames{{"online", "UP"}, {"offline", "DOWN"}, {"unknown", "UNKNOWN"}};
const StateNames kResourceNames{{"online", "ONLINE"},
                                {"offline", "OFFLINE"},
                                {"unknown", "UNKNOWN"},
                                {"partial", "UNKNOWN"},
                                {"faulted", "OFFLINE"}};

Answer KesGetInfo(const Description& cluster, const Words& words) {
    if (words != Words{"-raw"}) return Refused("kes_get_info: not understood");
    Answer answer = Line("C:" + cluster.name + ":");
    for (const System& system : cluster.systems) {
        // A host has a domain as its site.
        const std::string host = system.name + (system.site.empty() ? "" : "." + system.site);
        answer.out += "M:" + system.id + ":" + host + ":-:-:" + Word(kMemberNames, system.state) + ":\n";
    }
    return answer;
}

/// The host last: it is missing where a resource runs nowhere.
std::string Row(const std::string& name, const std::string& type, const std::string& state, const std::string& host) {
    return Column(name, 15) + Column(type, 15) + Column("ONLINE", 10) + Column(state, 10) + host + "\n";
}

Answer Table(const Description& cluster) {
    Answer answer{Row("NAME", "TYPE", "STATE", "HOST") + std::string(50, '-') + "\n", "", 0};
    for (const Group& group : cluster.groups) {
        for (const Resource& resource : group.resources) answer.out += Row(resource.name, resource.type, "OFFLINE", "");
        const std::string owner = OwnerOf(group), state = owner.empty() ? group.state : "online";
        answer.out += Row(group.name, "application", Word(kResourceNames, state.empty() ? "offline" : state), owner);
    }
    return answer;
}

Answer Profile(const Group& group) {
    const auto placement = group.attributes.find("PLACEMENT");
    std::string hosts;
    for (const auto& [system, priority] : group.systems) hosts += (hosts.empty() ? "" : " ") + system;
    return Lines({"NAME=" + group.name,
                  "PLACEMENT=" + (placement == group.attributes.end() ? std::string("restricted") : placement->second),
                  "HOSTING_MEMBERS=" + hosts});
}

Answer KesStat(const Description& cluster, const Words& words) {
    if (words == Words{"-t"}) return Table(cluster);
    if (words.size() != 2 || words[0] != "-p") return Refused("kes_stat: not understood");
    const Group* group = cluster.FindGroup(words[1]);
    return group ? Profile(*group) : Refused("kes_stat: no resource " + words[1]);
}

/// The system's own program, which other systems have in another folder.
Answer Hostname(const Description&, const Words&) {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    const std::string host = name;
    return Line(host.substr(0, host.find('.')));
}

const Product kKestrel("kes", "/usr/sbin/kesd",
                       {{"/usr/sbin/kes_get_info", KesGetInfo},
                        {"/usr/bin/kes_stat", KesStat},
                        {"/sbin/hostname", Hostname}});

}  // namespace
}  // namespace sim
