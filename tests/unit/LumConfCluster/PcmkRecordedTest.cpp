// What comes of the documents that real tools printed, and of real configurations.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Exceptions.h"
#include "Files.h"
#include "Raised.h"
#include "adapters/PcmkCib.h"
#include "adapters/PcmkPlacement.h"
#include "adapters/PcmkStates.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;

XmlDataTree TreeOf(const std::string& name) {
    std::istringstream text(ReadText(LUM_TEST_DATA "/recorded/pcmk/" + name));
    ToolLines lines;
    for (std::string line; std::getline(text, line);) lines.push_back(String_t::FromUtf8(line));
    return PcmkTree(String_t::FromUtf8(name), lines);
}

PcmkSight SightOf(const std::string& name) {
    return PcmkSightOf(String_t::FromUtf8(name), TreeOf(name));
}

/// "north+ south- (standby)": on line and not.
std::string NodesIn(const PcmkSight& sight) {
    std::string text;
    for (const PcmkNode& node : sight.nodes) {
        text += (text.empty() ? "" : " ") + node.name.ToUtf8() + (node.isOnline ? "+" : "-");
        if (node.Detail().IsNotEmpty()) text += " (" + node.Detail().ToUtf8() + ")";
    }
    return text;
}

/// "web Started@north, db Stopped"
std::string GroupsIn(const PcmkSight& sight) {
    const PcmkStates states(sight.nodes);
    std::string text;
    for (const PcmkResource& resource : sight.resources) {
        const PcmkState state = states.Whole(resource);
        text += (text.empty() ? "" : ", ") + resource.name.ToUtf8() + " " + state.word;
        if (state.node.IsNotEmpty()) text += "@" + state.node.ToUtf8();
    }
    return text;
}

struct Sighting {
    const char *file, *nodes, *groups;
};

TEST(PcmkRecorded, EachSightingIsUnderstood) {
    for (const Sighting& row :
         {Sighting{"crm_mon-no-nodes.xml", "", "inactive-clone Stopped, inactive-group Stopped"},
          Sighting{"crm_mon-one-group.xml",
                   "cluster01+ cluster02+ httpd-bundle-0+ (remote) httpd-bundle-1+ (remote) httpd-bundle-2- (remote)",
                   "exim-group Started@cluster02"},
          Sighting{"crm_mon-maintenance.xml", "cluster01+ cluster02-",
                   "Fencing Unmanaged@cluster01, rsc1 Unmanaged@cluster01, rsc2 Failed@cluster02"},
          Sighting{"crm_mon-clones.xml", "node1+ node2+ node3+",
                   "node1-stonith Started@node3, node2-stonith Started@node1, node3-stonith Started@node2, "
                   "dummy1 Started@node1, dummy2 Blocked, group1 Started@node3, dummy-clone Started, "
                   "group2-clone Started, ms-master Promoted@node3, group3-master Promoted@node3"},
          Sighting{"crm_mon-all-stopped.xml", "",
                   "B1 Stopped, R7 Stopped, S2 Stopped, G2 Stopped, G1-clone Stopped, R6-clone Stopped"},
          Sighting{"crm_mon-of-asymmetric.xml", "puma1+ puma3+",
                   "ms_drbd_poolA Promoted@puma3, vpool_ip_poolA Stopped, drbd_target_poolA Stopped"},
          Sighting{"crm_mon-of-bug-lf-2153.xml", "alice+ bob+ (standby)",
                   "ms_drbd_iscsivg01 Promoted@alice, cl_tgtd Started, rg_iscsivg01 Started@alice"},
          Sighting{"crm_mon-of-failcount-block.xml", "pcmk-1+ pcmk-4- (unclean)",
                   "rsc_pcmk-1 Started@pcmk-1, rsc_pcmk-2 Started@pcmk-1, rsc_pcmk-3 Stopped, rsc_pcmk-4 Stopped, "
                   "rsc_pcmk-5 Started@pcmk-1"},
          Sighting{"crm_mon-of-monitor-recovery.xml", "CSE-1+ CSE-2-", "svc-cse Stopped, cl_tomcat Started"},
          Sighting{"crm_mon-of-promoted-reattach.xml", "dktest1+ dktest2+",
                   "ms-drbd1 Unmanaged@dktest1, apache Unmanaged@dktest1"},
          Sighting{"crm_mon-of-stop-failure-no-quorum.xml",
                   "pcmk-1+ pcmk-2+ (unclean) pcmk-3- (unclean) pcmk-4- (unclean)",
                   "dlm-clone Stopped, clvm-clone Failed, ClusterIP Stopped, Fencing Stopped"}}) {
        const PcmkSight sight = SightOf(row.file);
        EXPECT_EQ(NodesIn(sight), row.nodes) << row.file;
        EXPECT_EQ(GroupsIn(sight), row.groups) << row.file;
    }
}

TEST(PcmkRecorded, ResourcesThatAreToldByNodeAreToldAllTheSame) {
    PcmkSight sight = SightOf("crm_mon-by-node.xml");
    const XmlDataTree tree =
        PcmkTree("cibadmin", {"<cib><configuration><resources><group id='exim-group'><primitive id='Public-IP'/>"
                              "<primitive id='Email'/></group><clone id='ping-clone'><primitive "
                              "id='ping'/></clone></resources></configuration></cib>"});
    EXPECT_EQ(sight.loose.size(), 6u);
    PcmkCib(tree).PutTogether(sight);
    EXPECT_EQ(GroupsIn(sight),
              "inactive-clone Stopped, inactive-group Stopped, httpd-bundle Started, mysql-clone-group Started, "
              "promotable-clone Promoted@cluster02, ping-clone Started, Fencing Started@cluster01, "
              "dummy Started@cluster02, exim-group Started@cluster02");
}

TEST(PcmkRecorded, TheOldFormIsRefused) {
    EXPECT_RAISES(SightOf("crm_mon-old.xml"), LumConf::ClusterException, 0);
}

struct Facts {
    const char *name, *resource, *address, *nodes;
};

TEST(PcmkRecorded, ConfigurationsTellAddressesAndNodes) {
    for (const Facts& row :
         // By a score of 0, which was taken for none: it is promoted on puma3.
         {Facts{"asymmetric", "ms_drbd_poolA", "", "puma1 puma3"},
          Facts{"asymmetric", "vpool_ip_poolA", "192.168.5.1", ""}, Facts{"asymmetric", "drbd_target_poolA", "", ""},
          Facts{"bug-lf-2153", "rg_iscsivg01", "10.9.9.180", "alice bob"},
          Facts{"bug-lf-2153", "cl_tgtd", "", "alice bob"},
          Facts{"failcount-block", "rsc_pcmk-4", "192.168.122.108", "pcmk-1 pcmk-4"},
          Facts{"monitor-recovery", "svc-cse", "172.18.19.31", "CSE-1 CSE-2"},
          Facts{"promoted-reattach", "apache", "10.200.200.224", "dktest1 dktest2"},
          Facts{"stop-failure-no-quorum", "ClusterIP", "192.168.122.200", "pcmk-1 pcmk-2 pcmk-3 pcmk-4"}}) {
        const std::string file = row.name + std::string(".xml");
        const PcmkSight sight = SightOf("crm_mon-of-" + file);
        const XmlDataTree tree = TreeOf("cib-" + file);
        const PcmkCib cib(tree);
        EXPECT_EQ(cib.AddressOf(row.resource), row.address) << row.name << " " << row.resource;
        std::string nodes;
        for (const PcmkResource& resource : sight.resources) {
            if (resource.name != row.resource) continue;
            for (const String_t& node : PcmkNodesOf(resource, sight, cib))
                nodes += (nodes.empty() ? "" : " ") + node.ToUtf8();
        }
        EXPECT_EQ(nodes, row.nodes) << row.name << " " << row.resource;
    }
}

}  // namespace
