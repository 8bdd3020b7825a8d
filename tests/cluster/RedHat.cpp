// The tools of Red Hat clusters, whose outputs changed with the releases: the file /etc/redhat-release of the
// description says which. Those of releases 4 and 5 have the columns of the recordings in tests/data/recorded/rhas,
// which get their width from a terminal and are cut at it; of releases below no output is known but what a caller can
// expect.
#include <algorithm>
#include <cstdlib>

#include "Answers.h"

namespace sim {
namespace {

constexpr char kReleaseFile[] = "/etc/redhat-release";
constexpr std::size_t kColumns = 80;  // of what is no terminal

const StateNames kServiceWords{{"online", "started"},
                               {"offline", "stopped"},
                               {"partial", "starting"},
                               {"faulted", "failed"},
                               {"unknown", "uninitialized"}};

Answer NotUnderstood() {
    return Refused("This call is not understood.");
}

int ReleaseOf(const Description& cluster) {
    for (const File& file : cluster.files) {
        const std::size_t word = file.text.find("release ");
        if (file.path == kReleaseFile && word != std::string::npos) return std::atoi(file.text.c_str() + word + 8);
    }
    return 0;
}

std::string Cut(const std::string& text, std::size_t width) {
    return text.substr(0, width) + std::string(width - std::min(width, text.size()), ' ');
}

// What is so.

struct Service {
    std::string name, owner, word;
};

/// It is owned where it is not off line.
Service ServiceOf(const Group& group) {
    for (const auto& [system, priority] : group.systems) {
        const std::string state = StateOn(group, system);
        if (state != "offline") return {group.name, system, Word(kServiceWords, state)};
    }
    return {group.name, "(none)", Word(kServiceWords, "offline")};
}

std::string StatusOf(const Description& cluster, const System& system) {
    if (system.state != "online") return system.state == "offline" ? "Offline" : system.state;
    return system.name == cluster.host ? "Online, Local, rgmanager" : "Online, rgmanager";
}

// Release 4.

std::string OldServiceLine(const Service& service) {
    return "  " + Cut(service.name, 20) + " " + Cut(service.owner, 30) + " " + Cut(service.word, 16) + "\n";
}

std::string OldServiceHeading() {
    return OldServiceLine({"Service Name", "Owner (Last)", "State"});
}

std::string OldMembers(const Description& cluster) {
    std::string text =
        "Member Status: Quorate\n\n  " + Cut("Member Name", 40) + " Status\n  " + Cut("------ ----", 40) + " ------\n";
    for (const System& system : cluster.systems)
        text += "  " + Cut(system.name, 40) + " " + StatusOf(cluster, system) + "\n";
    return text + "\n";
}

// Release 5.

std::string ServiceLine(const Service& service) {
    const std::size_t width = (kColumns - 20) / 2;
    return " " + Cut(service.name, width) + " " + Cut(service.owner, width) + " " + Cut(service.word, 14) + "\n";
}

std::string ServiceHeading() {
    return ServiceLine({"Service Name", "Owner (Last)", "State"});
}

std::string Members(const Description& cluster) {
    const std::size_t width = kColumns / 2;
    std::string text = "Cluster Status for " + cluster.name +
                       " @ Sun Nov 22 10:00:00 2026\nMember Status: Quorate\n\n " + Cut("Member Name", width) +
                       "ID   Status\n " + Cut("------ ----", width) + "---- ------\n";
    for (const System& system : cluster.systems) {
        const std::string id = std::string(4 - std::min<std::size_t>(4, system.id.size()), ' ') + system.id;
        text += " " + Cut(system.name, width) + " " + id + " " + StatusOf(cluster, system) + "\n";
    }
    return text + "\n";
}

// The tools.

Answer Services(const Description& cluster, const std::vector<Group>& groups) {
    const bool isOld = ReleaseOf(cluster) < 5;
    Answer answer;
    answer.out = isOld ? OldServiceHeading() : ServiceHeading();
    const Service ruler{"------- ----", "----- ------", "-----"};
    if (!groups.empty()) answer.out += isOld ? OldServiceLine(ruler) : ServiceLine(ruler);
    for (const Group& group : groups) {
        Service service = ServiceOf(group);
        if (!isOld) service.name = "service:" + service.name;
        answer.out += isOld ? OldServiceLine(service) : ServiceLine(service);
    }
    return answer;
}

/// A service that does not run makes a code.
Answer OneService(const Description& cluster, const std::string& name) {
    const Group* group = cluster.FindGroup(name);
    if (!group) return Services(cluster, {});
    Answer answer = Services(cluster, {*group});
    const std::string word = ServiceOf(*group).word;
    answer.code = word == "started" || word == "starting" ? 0 : 119;
    return answer;
}

Answer StatusOf3(const Description& cluster) {
    std::string text =
        "Cluster Status - " + cluster.name + "\n\n  Member             Status\n" + "  ------------------ ----------\n";
    for (const System& system : cluster.systems) {
        text += "  " + Column(system.name, 18) + " " + (system.state == "online" ? "Active" : "Inactive") + "\n";
    }
    text += "\n  Service        Status   Owner (Last)\n  -------------- -------- ----------------\n";
    for (const Group& group : cluster.groups) {
        const Service service = ServiceOf(group);
        text += "  " + Column(service.name, 14) + " " + Column(service.word, 8) + " " + service.owner + "\n";
    }
    return {text, "", 0};
}

Answer Clustat(const Description& cluster, const Words& words) {
    const int release = ReleaseOf(cluster);
    if (release == 3 && words.empty()) return StatusOf3(cluster);
    if (words.size() == 2 && words[0] == "-s") return OneService(cluster, words[1]);
    if (!words.empty()) return NotUnderstood();
    return {(release < 5 ? OldMembers(cluster) : Members(cluster)) + Services(cluster, cluster.groups).out, "", 0};
}

Answer CmanTool(const Description& cluster, const Words& words) {
    if (words != Words{"status"}) return NotUnderstood();
    return Lines({"Version: 6.2.0", "Config Version: 1", "Cluster Name: " + cluster.name, "Cluster Id: 29348",
                  "Cluster Member: Yes", "Cluster Generation: 48", "Membership state: Cluster-Member",
                  "Nodes: " + std::to_string(cluster.systems.size()), "Quorum: 1  ", "Node name: " + cluster.host});
}

std::string AddressOf(const Group& group) {
    for (const Resource& resource : group.resources) {
        if (resource.type == "IP") return resource.address;
    }
    return "";
}

Answer ConfigurationOf3(const Description& cluster, const Words& words) {
    if (words == Words{"--cluster"}) return Lines({"cluster:", "  name = " + cluster.name});
    if (words.size() != 2 || words[0].rfind("--service=", 0) != 0) return NotUnderstood();
    const Group* group = cluster.FindGroup(words[0].substr(10));
    if (!group || words[1] != "--service_ipaddresses") return NotUnderstood();
    const std::string address = AddressOf(*group);
    return Lines(address.empty() ? Words{} : Words{"service_ipaddress:", "  ipaddress = " + address});
}

Answer StatusBelow3(const Description& cluster) {
    std::string text =
        "==================== M e m b e r   S t a t u s ====================\n\n"
        "  Member         Status     Node Id    Power Switch\n"
        "  -------------- ---------- ---------- ------------\n";
    for (const System& system : cluster.systems) {
        text += "  " + Column(system.name, 14) + " " + Column(system.state == "online" ? "Up" : "Down", 10) + " " +
                Column(system.id, 10) + " Good\n";
    }
    return {text + "\n=================== S e r v i c e   S t a t u s ===================\n", "", 0};
}

Answer ServiceBelow3(const Description& cluster, const Words& words) {
    Answer answer;
    const bool isState = words.back() == "state";
    for (const Group& group : cluster.groups) {
        if (words.size() == 5 && words[3] == "config" && words[4] == group.name) {
            const std::string address = AddressOf(group);
            return Lines(address.empty() ? Words{"name: " + group.name}
                                         : Words{"name: " + group.name, "IP address 0: " + address});
        }
        answer.out += "  " + group.name + (isState ? " " + ServiceOf(group).word : "") + "\n";
    }
    return words.size() == 4 && (isState || words[3] == "services") ? answer : NotUnderstood();
}

Answer Cluadmin(const Description& cluster, const Words& words) {
    if (words == Words{"--", "cluster", "name"}) return Line(cluster.name);
    if (words == Words{"--", "cluster", "status"}) return StatusBelow3(cluster);
    if (words.size() > 3 && words[1] == "service" && words[2] == "show") return ServiceBelow3(cluster, words);
    return NotUnderstood();
}

const Product kRedHat("rhas", "/sbin/clusvcmgrd",
                      {{"/usr/sbin/clustat", Clustat},
                       {"/sbin/cman_tool", CmanTool},
                       {"/usr/sbin/redhat-config-cluster-cmd", ConfigurationOf3},
                       {"/sbin/cluadmin", Cluadmin}});

}  // namespace
}  // namespace sim
