/// @file
/// A node of a small Red Hat cluster, in this process and in mounts of its own.
#pragma once

#include <string>

#include "Configure.h"
#include "Files.h"
#include "OwnFolder.h"
#include "TempRoot.h"
#include "ToolScripts.h"

/// The nodes north (this one) and south on line, east off line; the group web, started on south, with the
/// address 10.0.0.7 and a failover domain of south and north; the group db, stopped, last on north, without either. Of
/// release 5 unless told otherwise: of release 4 the tools print likewise.
class RhasNode {
public:
    RhasNode() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        WriteText("/sbin/clusvcmgrd");
        SetRelease("Red Hat Enterprise Linux Server release 5.4 (Tikanga)\n");
        WriteText(kConfiguration,
                  "<cluster name='harbour'><rm><failoverdomains>"
                  "<failoverdomain name='web'><failoverdomainnode name='nobody'/></failoverdomain>"
                  "<failoverdomain name='first'><failoverdomainnode name='south' priority='1'/><other name='east'/>"
                  "<failoverdomainnode name='nobody'/><failoverdomainnode name='north'/></failoverdomain>"
                  "</failoverdomains><resources><ip address='10.0.0.7'/></resources>"
                  "<service name='web' domain='first'><fs name='disk'><ip ref='10.0.0.7'/></fs>"
                  "<ip ref='10.0.0.8'/><ip ref='10.0.0.9'/></service><service name='db'/></rm></cluster>\n");
        tools.Answer("cman_tool status", "Version: 6.2.0\nCluster Name: harbour \nCluster Id: 1\n");
        SetStatus(
            "Cluster Status for harbour @ Sun Nov 22 10:00:00 2026\nMember Status: Quorate\n\n"
            " Member Name      ID   Status\n ------ ----      ---- ------\n"
            " north               1 Online, Local, rgmanager\n south               2 Online, rgmanager\n"
            " east                3 Offline\n\n"
            " Service Name     Owner (Last)   State\n ------- ----     ----- ------   -----\n"
            " service:web      south          started\n service:db       (north)        stopped\n");
        tools.Answer("clustat -s web", "Service Name\n----\nservice:web south started\n");
        tools.Answer("clustat -s db", "Service Name\n----\nservice:db (north) stopped\n", 110);
    }
    void SetRelease(const std::string& text) { WriteText("/etc/redhat-release", text); }
    void SetStatus(const std::string& output, int code = 0) { tools.Answer("clustat", output, code); }

    static constexpr const char* kConfiguration = "/etc/cluster/cluster.conf";

private:
    OwnFolder usr{"/usr"};
    OwnFolder etc{"/etc"};

public:
    TempRoot root;
    ToolScripts tools{
        "/usr/sbin", root.Native() + "/notes", {"clustat", "cman_tool", "cluadmin", "redhat-config-cluster-cmd"}};
};
