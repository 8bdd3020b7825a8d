/// @file
/// A node of a small Palisade cluster, in this process and in mounts of its own.
#pragma once

#include <string>

#include "Configure.h"
#include "Files.h"
#include "OwnFolder.h"
#include "TempRoot.h"
#include "ToolScripts.h"

/// The nodes north (this one), south and east (down); the package web on south, which may run on north too, with the
/// address 10.0.0.7; mon on several nodes, north among them; db nowhere, which may run on all.
class PlsdNode {
public:
    PlsdNode() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        WriteText("/usr/lbin/plsd");
        tools.Answer("plsview -l cluster", "\nCLUSTER        STATUS\nharbour        up\n");
        SetNodes("north          up\nsouth          up\neast           down\n");
        SetOwnState("up");
        SetPackages(
            "PACKAGE        STATUS\nweb up - - - south\n\nMULTI_NODE_PACKAGES\n\nmon up - - - \n\n"
            "UNOWNED_PACKAGES\n\ndb down - - - \n");
        tools.Answer("plsview -v", Listing("web", {"south"}) + Listing("mon", {"south", "north"}) + Listing("db", {}));
        SetConfiguration("web", "NODE_NAME south\n  NODE_NAME\tnorth\nRUN_SCRIPT " + Script() + "\n");
        SetConfiguration("db", "NODE_NAME *\n");
        WriteText(Script(), "#!/bin/sh\nIP[0]=\"10.0.0.7\"\n");
    }
    std::string Script() const { return root.Native() + "/control"; }
    void SetNodes(const std::string& rows) { tools.Answer("plsview -l node", "\nNODE           STATUS\n" + rows); }
    void SetOwnState(const std::string& word) {
        tools.Answer("plsview -l node -n north", "\nNODE STATUS\n north  " + word + " \n");
    }
    void SetPackages(const std::string& rows) { tools.Answer("plsview -l package", rows); }
    void SetConfiguration(const std::string& package, const std::string& lines) {
        tools.Answer("plsconf -p " + package, lines);
    }
    /// What the long listing says of a package and the nodes that it runs on.
    static std::string Listing(const std::string& package, const std::vector<std::string>& nodes) {
        std::string text = "\nPACKAGE        STATUS\n" + package + "  up\n";
        for (const std::string& node : nodes) text += "\n    NODE_NAME   STATUS\n    " + node + "   up\n";
        return text;
    }

private:
    OwnFolder usr{"/usr"};

public:
    TempRoot root;
    ToolScripts tools{"/usr/sbin", root.Native() + "/notes", {"plsview", "plsconf"}};
};
