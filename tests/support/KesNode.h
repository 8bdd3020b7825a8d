/// @file
/// A node of a small Kestrel cluster, in this process and in mounts of its own.
#pragma once

#include <string>

#include "Configure.h"
#include "Files.h"
#include "OwnFolder.h"
#include "TempRoot.h"
#include "ToolScripts.h"

/// The members north (this one, id 10), south (11) and east (12, down); the application web on south, which may run on
/// south and north; db nowhere, which may run on all.
class KesNode {
public:
    KesNode() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        WriteText("/usr/sbin/kesd");
        SetMembers("M:10:north.example.com:-:-:UP:\nM:11:south:-:-:UP\nM:12:east:-:-:DOWN:more\n");
        SetResources(
            "web_disk disk ONLINE ONLINE south\nweb application ONLINE ONLINE south\n"
            "db application OFFLINE OFFLINE\n");
        SetProfile("web", "NAME=web\n PLACEMENT=restricted \nHOSTING_MEMBERS=south  north\n");
        SetProfile("db", "NAME=db\nPLACEMENT=favored\nHOSTING_MEMBERS=south\n");
    }
    void SetMembers(const std::string& records) { tools.Answer("kes_get_info -raw", "C:harbour:\n" + records); }
    void SetResources(const std::string& rows) { tools.Answer("kes_stat -t", "NAME TYPE\n-----\n" + rows); }
    void SetProfile(const std::string& resource, const std::string& lines) {
        tools.Answer("kes_stat -p " + resource, lines);
    }

private:
    OwnFolder usr{"/usr"};

public:
    TempRoot root;
    ToolScripts tools{"/usr/sbin", root.Native() + "/notes", {"kes_get_info", "hostname", "../bin/kes_stat"}};
};
