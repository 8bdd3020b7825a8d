/// @file
/// A node of a small Sun cluster, in this process and in mounts of its own.
#pragma once

#include <string>

#include "Configure.h"
#include "Files.h"
#include "OwnFolder.h"
#include "TempRoot.h"
#include "ToolScripts.h"

/// The nodes north (this one, id 1), south (2) and east (3), all up; the group web on north and south, on line on
/// south, with the address 10.0.0.7; the group db on all three, nowhere on line, without an address.
class ScNode {
public:
    ScNode() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        WriteText("/usr/cluster/lib/sc/clexecd");
        OfCluster("CLUSTERNAME", "harbour\n");
        OfCluster("NODESTATE_LOCAL", "UP\n");
        OfCluster("ALL_NODENAMES", "north\nsouth\neast\n");
        AddNode("north", "1");
        AddNode("south", "2");
        AddNode("east", "3");
        OfCluster("ALL_RESOURCEGROUPS", "web\ndb\n");
        AddGroup("web", {"north", "south"}, "web_disk\nweb_ip\n");
        AddGroup("db", {"north", "south", "east"}, "db_disk\n");
        SetState("web", "south", "ONLINE");
        for (const char* disk : {"web_disk", "db_disk"}) OfResource(disk, "IS_LOGICAL_HOSTNAME", "FALSE\n");
        OfResource("web_ip", "IS_LOGICAL_HOSTNAME", "TRUE\n");
        SetHostNames("web_ip", "STRINGARRAY\n10.0.0.7\n");
    }
    void OfCluster(const std::string& tag, const std::string& output, int code = 0) {
        tools.Answer("scha_cluster_get -O " + tag, output, code);
    }
    void OfGroup(const std::string& tag, const std::string& group, const std::string& output, int code = 0) {
        tools.Answer("scha_resourcegroup_get -O " + tag + " -G " + group, output, code);
    }
    void OfResource(const std::string& resource, const std::string& tag, const std::string& output, int code = 0) {
        tools.Answer("scha_resource_get -O " + tag + " -R " + resource, output, code);
    }
    void SetHostNames(const std::string& resource, const std::string& output, int code = 0) {
        OfResource(resource + " HostnameList", "EXTENSION", output, code);
    }
    void AddNode(const std::string& name, const std::string& id) {
        OfCluster("NODEID_NODENAME " + name, id + "\n");
        OfCluster("NODESTATE_NODE " + name, "UP\n");
    }
    /// Off line everywhere.
    void AddGroup(const std::string& group, const std::vector<std::string>& nodes, const std::string& resources) {
        std::string list;
        for (const std::string& node : nodes) list += node + "\n";
        for (const std::string& node : nodes) SetState(group, node, "OFFLINE");
        OfGroup("NODELIST", group, list);
        OfGroup("RESOURCE_LIST", group, resources);
    }
    void SetState(const std::string& group, const std::string& node, const std::string& word) {
        OfGroup("RG_STATE_NODE", group + " " + node, word + "\n");
        if (node == "north") OfGroup("RG_STATE", group, word + "\n");
    }

private:
    OwnFolder usr{"/usr"};

public:
    TempRoot root;
    ToolScripts tools{"/usr/cluster/bin",
                      root.Native() + "/notes",
                      {"scha_cluster_get", "scha_resourcegroup_get", "scha_resource_get"}};
};
