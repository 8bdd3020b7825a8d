/// @file
/// A node of a small Pacemaker cluster, in this process and in mounts of its own.
#pragma once

#include <string>

#include "Configure.h"
#include "Files.h"
#include "OwnFolder.h"
#include "TempRoot.h"
#include "ToolScripts.h"

/// A resource as crm_mon tells it. @param flags  further attributes @param nodes  where it is, with blanks between
inline std::string PcmkResourceText(const std::string& id, const std::string& role, const std::string& nodes = "",
                                    const std::string& flags = "") {
    std::string places, name;
    for (const char c : nodes + " ") {
        if (c != ' ') {
            name += c;
            continue;
        }
        if (!name.empty()) places += "<node name='" + name + "' id='1' cached='true'/>";
        name.clear();
    }
    return "<resource id='" + id + "' resource_agent='ocf:pacemaker:Dummy' role='" + role + "' " + flags + ">" +
           places + "</resource>";
}

/// The members north (this one, id 1), south (2) and east (3, off line), and a partition with quorum. The group web on
/// south, with the address 10.0.0.7, which is kept away from east; the primitive db, stopped, without either.
class PcmkNode {
public:
    PcmkNode() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        WriteText("/usr/sbin/pacemakerd");
        WriteText(kCib, "<cib/>");
        SetResources("<group id='web'>" + PcmkResourceText("web-ip", "Started", "south") +
                     PcmkResourceText("web-server", "Started", "south") + "</group>" +
                     PcmkResourceText("db", "Stopped"));
        SetCib(
            "<resources><group id='web'>"
            "<primitive id='web-ip' class='ocf' provider='heartbeat' type='IPaddr2'><instance_attributes id='a'>"
            "<nvpair id='b' name='nic' value='eth0'/><nvpair id='c' name='ip' value='10.0.0.7'/>"
            "</instance_attributes></primitive>"
            "<primitive id='web-server' class='ocf' provider='pacemaker' type='Dummy'/></group>"
            "<primitive id='db' class='ocf' provider='pacemaker' type='Dummy'/></resources>"
            "<constraints><rsc_location id='d' rsc='web' node='east' score='-INFINITY'/></constraints>");
    }
    /// What stands between the elements "nodes".
    void SetNodes(const std::string& elements) { nodes = elements, Tell(); }
    void SetResources(const std::string& elements) { resources = elements, Tell(); }
    /// What stands in the summary.
    void SetSummary(const std::string& elements) { summary = elements, Tell(); }
    /// What stands behind the resources.
    void SetRest(const std::string& elements) { rest = elements, Tell(); }
    void SetMonitor(const std::string& output, int code = 0) { tools.Answer(kMonitor, output, code); }
    /// At the next look alone these resources are told.
    void SetResourcesOnce(const std::string& elements) { tools.AnswerOnce(kMonitor, Sight(elements)); }
    /// What stands in the configuration behind its properties.
    void SetCib(const std::string& elements) { configured = elements, TellCib(); }
    /// What stands in the status.
    void SetStatus(const std::string& elements) { status = elements, TellCib(); }
    /// A node as crm_mon tells it.
    static std::string Node(const std::string& name, const std::string& id, const std::string& flags) {
        return "<node name='" + name + "' id='" + id + "' " + flags + "/>\n";
    }

    static constexpr const char* kMonitor = "crm_mon -1 --output-as=xml";
    static constexpr const char* kAdmin = "cibadmin -Q";
    static constexpr const char* kCib = "/var/lib/pacemaker/cib/cib.xml";

private:
    std::string Sight(const std::string& shown) const {
        return "<pacemaker-result api-version='2.25' request='crm_mon'>\n<summary>" + summary + "</summary>\n<nodes>" +
               nodes + "</nodes>\n<resources>" + shown + "</resources>\n" + rest +
               "<status code='0' message='OK'/>\n</pacemaker-result>\n";
    }
    void Tell() { SetMonitor(Sight(resources)); }
    void TellCib() {
        tools.Answer(kAdmin,
                     "<cib epoch='1'><configuration><crm_config><cluster_property_set id='o'>"
                     "<nvpair id='o1' name='dc-version' value='2.1.5'/>"
                     "<nvpair id='o2' name='cluster-name' value='harbour'/></cluster_property_set></crm_config>" +
                         configured + "</configuration><status>" + status + "</status></cib>\n");
    }

    OwnFolder usr{"/usr"};
    OwnFolder var{"/var"};
    std::string summary = "<current_dc present='true' name='south' with_quorum='true'/>", resources, rest, configured,
                status;
    std::string nodes = Node("north", "1", "online='true' type='member'") +
                        Node("south", "2", "online='true' type='member'") +
                        Node("east", "3", "online='false' type='member'");

public:
    TempRoot root;
    ToolScripts tools{"/usr/sbin", root.Native() + "/notes", {"crm_mon", "cibadmin", "crm_node"}};
};
