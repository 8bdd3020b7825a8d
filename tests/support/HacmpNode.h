/// @file
/// A node of a small AIX cluster, in this process and in mounts of its own.
#pragma once

#include <filesystem>
#include <string>

#include "Configure.h"
#include "Files.h"
#include "OwnFolder.h"
#include "TempRoot.h"
#include "ToolScripts.h"

/// The nodes north (this one), south and east, all up; the group web on north and south, on line on south, with the
/// address 10.0.0.7; the group db on all three, nowhere on line, without an address.
class HacmpNode {
public:
    HacmpNode() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        WriteText("/usr/es/sbin/cluster/clstrmgr");
        // Two folders of tools with one log: a link for each of the others, since ToolScripts knows one folder.
        std::filesystem::create_directories("/usr/es/sbin/cluster/utilities");
        for (const char* tool : {"clRGinfo", "clgetip"}) {
            std::filesystem::create_symlink(std::string("../") + tool,
                                            std::string("/usr/es/sbin/cluster/utilities/") + tool);
        }
        SetStatus(
            "Cluster: harbour    (1100160000)\nSun Nov 22 10:00:00 2026\n  State: UP   Nodes: 3\n"
            "  SubState: STABLE\n\n Node: north   State: UP\n   Interface: n (0)  Address: 10.0.0.1\n"
            "      State: UP\n Node: south   State: UP\n   Resource Group: web   State: online\n"
            " Node: east  State: UP\n");
        SetGroups("web:OFFLINE:north\nweb:ONLINE:south\ndb:OFFLINE:north\ndb:OFFLINE:south\ndb:OFFLINE:east\n");
        tools.Answer("clgetip web", "10.0.0.7\n");
    }
    void SetStatus(const std::string& output, int code = 0) { tools.Answer("clstat -o", output, code); }
    void SetGroups(const std::string& output, int code = 0) { tools.Answer("clRGinfo -s", output, code); }

private:
    OwnFolder usr{"/usr"};

public:
    TempRoot root;
    ToolScripts tools{"/usr/es/sbin/cluster", root.Native() + "/notes", {"clstat", "clRGinfo", "clgetip"}};
};
