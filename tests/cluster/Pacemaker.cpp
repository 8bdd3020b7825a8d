// The tools of Pacemaker. A group is one of two members and its addresses, so that it can be there in part.
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "Answers.h"
#include "Product.h"

namespace sim {
namespace {

/// Of a group on a system that does not know what runs there: its history is gone.
constexpr const char* kUnprobed = "unprobed";

/// A state as attributes of a resource.
const StateNames kFlags{{"unknown", "managed=\"false\""}, {"faulted", "failed=\"true\""}};

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        const std::string_view all = "&<>\"";
        static const char* const names[]{"&amp;", "&lt;", "&gt;", "&quot;"};
        const std::size_t at = all.find(c);
        escaped += at == all.npos ? std::string(1, c) : names[at];
    }
    return escaped;
}

std::string Attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + Escaped(value) + "\"";
}

std::string Quorum(const Description& cluster) {
    std::size_t online = 0;
    for (const System& system : cluster.systems) online += system.state == "online" ? 1 : 0;
    return 2 * online > cluster.systems.size() ? "true" : "false";
}

std::string NodeText(const System& system) {
    const bool isOnline = system.state == "online";
    return "    <node" + Attribute("name", system.name) + Attribute("id", system.id) + " online=\"" +
           (isOnline ? "true" : "false") + "\" standby=\"false\" standby_onfail=\"false\" maintenance=\"false\"" +
           " pending=\"false\" unclean=\"" + (system.state == "unknown" ? "true" : "false") + "\" type=\"member\"/>\n";
}

std::string ResourceText(const std::string& id, const char* agent, const std::string& node, const std::string& state) {
    const auto flags = kFlags.find(state);
    const std::string text = "      <resource" + Attribute("id", id) + Attribute("resource_agent", agent) + " role=\"" +
                             (node.empty() ? "Stopped" : "Started") + "\" active=\"" +
                             (node.empty() ? "false" : "true") + "\" orphaned=\"false\" nodes_running_on=\"" +
                             (node.empty() ? "0" : "1") + "\" " + (flags == kFlags.end() ? "" : flags->second);
    if (node.empty()) return text + "/>\n";
    return text + ">\n        <node" + Attribute("name", node) + " id=\"0\" cached=\"true\"/>\n      </resource>\n";
}

/// Where something of it is, and how it is there.
std::pair<std::string, std::string> PlaceOf(const Group& group) {
    for (const auto& [system, state] : group.states) {
        if (state != "offline" && state != kUnprobed) return {system, state};
    }
    return {"", group.state};
}

std::string GroupText(const Group& group) {
    const auto [node, state] = PlaceOf(group);
    std::string text = "    <group" + Attribute("id", group.name) + " managed=\"true\" disabled=\"false\">\n";
    text += ResourceText(group.name + "-first", "ocf:pacemaker:Dummy", node, state);
    const std::string rest = state == "partial" ? "" : node;
    for (const Resource& resource : group.resources)
        text += ResourceText(resource.name, "ocf:heartbeat:IPaddr2", rest, state);
    return text + ResourceText(group.name + "-last", "ocf:pacemaker:Dummy", rest, state) + "    </group>\n";
}

std::string Each(const auto& list, auto&& textOf) {
    std::string text;
    for (const auto& each : list) text += textOf(each);
    return text;
}

Answer CrmMon(const Description& cluster, const Words& words) {
    if (words != Words{"-1", "--output-as=xml"}) return Refused("crm_mon: not understood", 64);
    return {
        "<pacemaker-result api-version=\"2.25\" request=\"crm_mon -1 --output-as=xml\">\n  <summary>\n"
        "    <stack type=\"corosync\"/>\n    <current_dc present=\"true\" with_quorum=\"" +
            Quorum(cluster) + "\"/>\n    <cluster_options symmetric-cluster=\"true\"/>\n  </summary>\n  <nodes>\n" +
            Each(cluster.systems, NodeText) + "  </nodes>\n  <resources>\n" + Each(cluster.groups, GroupText) +
            "  </resources>\n  <status code=\"0\" message=\"OK\"/>\n</pacemaker-result>\n",
        "", 0};
}

std::string PairText(const std::string& id, const char* name, const std::string& value) {
    return "<nvpair" + Attribute("id", id) + Attribute("name", name) + Attribute("value", value) + "/>";
}

std::string PrimitiveText(const std::string& id, const char* provider, const char* type, const std::string& address) {
    std::string text = "        <primitive" + Attribute("id", id) + " class=\"ocf\"" + Attribute("provider", provider) +
                       Attribute("type", type);
    if (address.empty()) return text + "/>\n";
    return text + "><instance_attributes" + Attribute("id", id + "-attributes") + ">" +
           PairText(id + "-ip", "ip", address) + "</instance_attributes></primitive>\n";
}

std::string ConfiguredText(const Group& group) {
    std::string text = "      <group" + Attribute("id", group.name) + ">\n";
    text += PrimitiveText(group.name + "-first", "pacemaker", "Dummy", "");
    for (const Resource& resource : group.resources)
        text += PrimitiveText(resource.name, "heartbeat", "IPaddr2", resource.address);
    return text + PrimitiveText(group.name + "-last", "pacemaker", "Dummy", "") + "      </group>\n";
}

/// The systems of a group in their order, and none but these.
std::string LocationsOf(const Group& group, const Description& cluster) {
    std::string text;
    std::size_t left = group.systems.size();
    const auto add = [&](const std::string& node, const std::string& score) {
        text += "      <rsc_location" + Attribute("id", group.name + "-on-" + node) + Attribute("rsc", group.name) +
                Attribute("node", node) + Attribute("score", score) + "/>\n";
    };
    for (const auto& [system, priority] : group.systems) add(system, std::to_string(100 * left--));
    for (const System& system : cluster.systems) {
        if (!IsOn(group, system.name)) add(system.name, "-INFINITY");
    }
    return text;
}

/// What a system remembers of a resource: that it was started there, or found not to run.
std::string HistoryText(const std::string& id, bool runs) {
    return "<lrm_resource" + Attribute("id", id) + "><lrm_rsc_op interval=\"0\" call-id=\"1\" op-status=\"0\" " +
           (runs ? "operation=\"start\" rc-code=\"0\"" : "operation=\"monitor\" rc-code=\"7\"") + "/></lrm_resource>";
}

std::string StateOn(const Group& group, const System& system) {
    const auto found = group.states.find(system.name);
    return found == group.states.end() ? "offline" : found->second;
}

std::string HistoriesText(const Group& group, const System& system) {
    const std::string state = StateOn(group, system);
    const bool begun = state != "offline", whole = begun && state != "partial";
    std::string text = HistoryText(group.name + "-first", begun) + HistoryText(group.name + "-last", whole);
    for (const Resource& resource : group.resources) text += HistoryText(resource.name, whole);
    return text;
}

std::string StatusText(const System& system, const Description& cluster) {
    const bool isGone = std::any_of(cluster.groups.begin(), cluster.groups.end(),
                                    [&](const Group& group) { return StateOn(group, system) == kUnprobed; });
    const std::string text = "    <node_state" + Attribute("uname", system.name);
    if (isGone) return text + "/>\n";
    return text + "><lrm><lrm_resources>" +
           Each(cluster.groups, [&](const Group& group) { return HistoriesText(group, system); }) +
           "</lrm_resources></lrm></node_state>\n";
}

Answer CibAdmin(const Description& cluster, const Words& words) {
    if (words != Words{"-Q"}) return Refused("cibadmin: not understood", 64);
    return {"<cib epoch=\"1\">\n  <configuration>\n    <crm_config><cluster_property_set id=\"options\">" +
                PairText("options-name", "cluster-name", cluster.name) +
                "</cluster_property_set></crm_config>\n    <resources>\n" + Each(cluster.groups, ConfiguredText) +
                "    </resources>\n    <constraints>\n" +
                Each(cluster.groups, [&](const Group& group) { return LocationsOf(group, cluster); }) +
                "    </constraints>\n  </configuration>\n  <status>\n" +
                Each(cluster.systems, [&](const System& system) { return StatusText(system, cluster); }) +
                "  </status>\n</cib>\n",
            "", 0};
}

Answer CrmNode(const Description&, const Words& words) {
    if (words != Words{"-n"}) return Refused("crm_node: not understood", 64);
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return Line(name);
}

const Product kPacemaker("pcmk", "/usr/sbin/pacemakerd",
                         {{"/usr/sbin/crm_mon", CrmMon},
                          {"/usr/sbin/cibadmin", CibAdmin},
                          {"/usr/sbin/crm_node", CrmNode}});

}  // namespace
}  // namespace sim
