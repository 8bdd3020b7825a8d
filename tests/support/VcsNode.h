/// @file
/// A node of a small VERITAS cluster, in this process and in mounts of its own.
#pragma once

#include <sys/mount.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "Configure.h"
#include "Mounts.h"
#include "TempRoot.h"
#include "ToolScripts.h"

/// Lets the folder /opt be an empty one of this process's own, as long as it lives.
class OwnOpt {
public:
    OwnOpt() {
        static const bool isPrivate = (MakeMountsPrivate(), true);
        if (!isPrivate || mount("tmpfs", "/opt", "tmpfs", MS_NOSUID | MS_NODEV, "size=16m") != 0) {
            throw std::runtime_error("cannot mount a file system in memory over /opt");
        }
    }
    OwnOpt(const OwnOpt&) = delete;
    OwnOpt& operator=(const OwnOpt&) = delete;
    ~OwnOpt() { umount2("/opt", MNT_DETACH); }
};

/// The systems north (this node, id 10), south (11) and east (12), all running; the group web on north and south, on
/// line on south, with the address 10.0.0.7; the group db on all three, nowhere on line, without an address.
class VcsNode {
public:
    VcsNode() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        WriteText("/opt/VRTSvcs/bin/had");
        tools.Answer("haclus -value ClusterName", "harbour\n");
        tools.Answer("hasys -list", "north\nsouth\neast\n");
        AddSystem("north", "10");
        AddSystem("south", "11");
        AddSystem("east", "12");
        tools.Answer("hagrp -display -attribute SystemList",
                     "#Group       Attribute             System     Value\n"
                     "web          SystemList            global     north 0\tsouth 1\n"
                     "db\tSystemList            global     north 0\tsouth 1\teast 2\n");
        tools.Answer("hagrp -value web SystemList", "north 0\tsouth 1\n");
        tools.Answer("hagrp -value db SystemList", "north 0\tsouth 1\teast 2\n");
        for (const char* system : {"north", "south", "east"}) {
            SetState("web", system, "|OFFLINE|");
            SetState("db", system, "|OFFLINE|");
        }
        SetState("web", "south", "|ONLINE|");
        tools.Answer("hagrp -value web State", "|ONLINE|\n");
        tools.Answer("hagrp -value db State", "|OFFLINE|\n");
        tools.Answer("hagrp -resources web", "web_disk\nweb_ip\n");
        tools.Answer("hagrp -resources db", "db_disk\n");
        tools.Answer("hares -display web_ip -attribute Address -type IP", "#Resource Attribute System Value\n");
        tools.Answer("hares -value web_ip Address", "10.0.0.7\n");
    }
    void AddSystem(const std::string& name, const std::string& id) {
        tools.Answer("hasys -value " + name + " NodeId", id + "\n");
        tools.Answer("hasys -state " + name, "RUNNING\n");
    }
    void SetState(const std::string& group, const std::string& system, const std::string& word) {
        tools.Answer("hagrp -state " + group + " -sys " + system, word + "\n");
    }

private:
    OwnOpt opt;

public:
    TempRoot root;
    ToolScripts tools{"/opt/VRTSvcs/bin", root.Native() + "/notes", {"haclus", "hasys", "hagrp", "hares"}};
};
