// What Pacemaker's tools fail with, and what is made of it.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ClusterSeen.h"
#include "Configure.h"
#include "EachToolFails.h"
#include "Exceptions.h"
#include "LumConfCluster/Applications.h"
#include "LumConfCluster/Cluster.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumConfCluster/ClusterUtil.h"
#include "PcmkFixture.h"
#include "PolicyHeader.h"
#include "PolicyHeaderImpl.h"
#include "Raised.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterException;
using LumPalStr::String_t;

TEST_F(Pcmk, AToolThatTellsOfItsFailureHasFailedWhateverItsCode) {
    const auto tell = [&](const std::string& inside) {
        node.SetMonitor("<pacemaker-result>" + inside + "</pacemaker-result>");
    };
    const std::string data = "<summary/><nodes/>";
    tell(data + "<status code='0' message='OK'/>");
    EXPECT_EQ(Cluster().GetGroups().Count(), 0);
    tell(data + "<status code='102' message='Not connected'><errors><error>no cluster</error></errors></status>");
    EXPECT_EQ(WhyNoGroups(),
              "The command told that it has failed with '102' (Not connected: no cluster): "
              "\"/usr/sbin/crm_mon\" -1 --output-as=xml");
    tell(
        "<status code='0' message='OK'><errors><error>Could not connect to the CIB: No such device</error></errors>"
        "</status>");
    EXPECT_NE(WhyNoGroups().find("failed with '0' (Could not connect to the CIB: No such device)"), std::string::npos);
    tell(data + "<status code='0' message='OK'><errors><error>no history</error></errors></status>");
    EXPECT_EQ(Cluster().GetGroups().Count(), 0) << "what was told besides counts";
    for (const char* inside : {"", "<summary/><nodes/>", "<status code='0'/>", "<nodes/><status code='0'/>"}) {
        tell(inside);
        EXPECT_NE(WhyNoGroups().find("told nothing of the cluster"), std::string::npos) << inside;
    }
    tell("<summary/><nodes/><status/>");
    EXPECT_NE(WhyNoGroups().find("failed with ''"), std::string::npos);
}

TEST_F(Pcmk, AReleaseThatIsTooOldIsNamedAsSuch) {
    node.SetMonitor(ReadText(LUM_TEST_DATA "/recorded/pcmk/crm_mon-old.xml"));
    EXPECT_NE(WhyNoGroups().find("Pacemaker 2.0.3 or later is needed"), std::string::npos);
    node.SetMonitor("<html/>");
    EXPECT_NE(WhyNoGroups().find("an element 'html' in place of its result"), std::string::npos);
}

TEST_F(Pcmk, AReleaseThatDoesNotKnowTheOptionIsNamedAsTooOldWithWhatItSaid) {
    node.SetMonitor("", 64);
    tools.Say(PcmkNode::kMonitor, "crm_mon: unrecognized option '--output-as=xml'\n\x1b[1mSee --help\n");
    EXPECT_EQ(WhyNoGroups(),
              "The command printed no XML and returned '64' (crm_mon: unrecognized option '--output-as=xml'  [1mSee "
              "--help). Pacemaker 2.0.3 or later is needed: \"/usr/sbin/crm_mon\" -1 --output-as=xml");
    for (const char* said : {"crm_mon: unrecognized option '--output-as=xml'\n", "Unknown option --output-as=xml\n"}) {
        node.SetMonitor("", 1);
        tools.Say(PcmkNode::kMonitor, said);
        EXPECT_NE(WhyNoGroups().find("Pacemaker 2.0.3 or later is needed"), std::string::npos) << said;
    }
    node.SetMonitor("Cluster Summary:\n", 64);
    EXPECT_NE(WhyNoGroups().find("Pacemaker 2.0.3 or later is needed"), std::string::npos);
    node.SetMonitor("Stack: corosync\n");
    tools.Say(PcmkNode::kMonitor, "");
    EXPECT_NE(WhyNoGroups().find("returned '0' (it said nothing). Pacemaker 2.0.3 or later"), std::string::npos);
}

TEST_F(Pcmk, TheReasonOfAToolThatFailsIsReadInItsOwnWords) {
    node.SetMonitor(
        "<pacemaker-result><status code='102' message='Not connected'><errors><error>crm_mon: Connection to cluster "
        "failed</error><error>Transport endpoint</error></errors></status></pacemaker-result>",
        102);
    EXPECT_EQ(WhyNoGroups(),
              "The command told that it has failed with '102' (Not connected: crm_mon: Connection to cluster failed "
              "Transport endpoint): \"/usr/sbin/crm_mon\" -1 --output-as=xml");
    node.SetMonitor("", 102);
    tools.Say(PcmkNode::kMonitor, "crm_mon: Not connected\n");
    EXPECT_NE(WhyNoGroups().find("failed with '102' (crm_mon: Not connected)"), std::string::npos);
    tools.Answer(PcmkNode::kAdmin, "", 102);
    tools.Say(PcmkNode::kAdmin, "Signon to CIB failed: Transport endpoint is not connected\n");
    EXPECT_EQ(Reason(MessagesOf<ClusterException>([] { Cluster(); })),
              "The command told that it has failed with '102' (Signon to CIB failed: Transport endpoint is not "
              "connected): \"/usr/sbin/cibadmin\" -Q");
}

TEST_F(Pcmk, AResultThatTellsOfSuccessCountsForNothingWhereTheToolFailed) {
    node.SetMonitor("<pacemaker-result><summary/><nodes/><status code='0' message='OK'/></pacemaker-result>", 139);
    EXPECT_EQ(Reason(MessagesOf<ClusterException>([] { Cluster().GetGroups(); })),
              "The command was: \"/usr/sbin/crm_mon\" -1 --output-as=xml");
}

TEST_F(Pcmk, WhatIsNoDocumentIsAnError) {
    for (const std::string& output :
         {std::string(), std::string("Online: [ a ]\n"), std::string("<a>"), std::string("<a/><b/>"),
          std::string("<!DOCTYPE a [<!ENTITY % e SYSTEM '/etc/passwd'> %e;]><a/>"),
          std::string("<!DOCTYPE a SYSTEM 'http://127.0.0.1/x'><a>&b;</a>"), std::string("<a>\x01</a>"), [] {
              std::string deep;
              for (int i = 0; i < 1001; ++i) deep += "<a>";
              return deep;
          }()}) {
        node.SetMonitor(output);
        EXPECT_RAISES(Cluster().GetGroups(), ClusterException, 231);
        EXPECT_RAISES(Cluster().GetNodes(), ClusterException, 224);
        EXPECT_RAISES(Cluster().GetState(), ClusterException, 236);
        EXPECT_RAISES(Cluster().GetGroupNodes("web"), ClusterException, 0);
    }
    node.SetMonitor("<pacemaker-result>" + std::string(33 << 20, ' ') + "</pacemaker-result>");
    EXPECT_NE(WhyNoGroups().find("at most '33554432' bytes"), std::string::npos);
    tools.Answer(PcmkNode::kAdmin, "x");
    const auto messages = MessagesOf<ClusterException>([] { Cluster(); });
    EXPECT_EQ(String_t(messages), "Can not instantiate Pacemaker cluster object.");
}

TEST_F(Pcmk, AnEntityBombDoesNotGrow) {
    std::string bomb = "<!DOCTYPE a [<!ENTITY a0 'aaaaaaaaaaaaaaaaaaaa'>";
    for (int i = 1; i < 30; ++i) {
        const std::string former = "&a" + std::to_string(i - 1) + ";";
        bomb += "<!ENTITY a" + std::to_string(i) + " '" + former + former + former + former + "'>";
    }
    node.SetMonitor(bomb + "]><pacemaker-result>&a29;</pacemaker-result>");
    EXPECT_RAISES(Cluster().GetGroups(), ClusterException, 231);
}

TEST_F(Pcmk, NamesOfAnyKindAreGivenAsTheyAre) {
    node.SetResources(PcmkResourceText("--help", "Started", "north") + PcmkResourceText("a b;c$(d)&quot;", "Stopped") +
                      PcmkResourceText("", "Stopped"));
    EXPECT_EQ(Names(Cluster().GetGroups()), (Texts{"--help", "a b;c$(d)\"", ""}));
    EXPECT_EQ(Names(Cluster().GetGroupNodes("--help")), (Texts{"north", "south", "east"}));
}

TEST_F(Pcmk, ToolsRunBehindWhatTheEnvironmentSays) {
    setenv("LUM_SUDO", "/usr/bin/env LUM_SEEN=1", 1);
    EXPECT_EQ(Cluster().GetName(), "harbour");
    setenv("LUM_SUDO", "/nowhere/sudo", 1);
    EXPECT_RAISES(Cluster(), ClusterException, 0);
    unsetenv("LUM_SUDO");
}

TEST_F(Pcmk, EachToolThatFailsIsAnErrorButForTheAddressesOfAList) {
    // Of what is missing the history is wanted too.
    node.SetResources(PcmkResourceText("web", "Started", "south") + PcmkResourceText("db", "Started", "south"));
    EXPECT_EQ(AskAll(), 2);
    tools.ForgetCalls();
    AskAll();
    EXPECT_EQ(tools.Calls(), (Texts{PcmkNode::kAdmin, PcmkNode::kMonitor, PcmkNode::kMonitor, PcmkNode::kMonitor,
                                    PcmkNode::kAdmin, PcmkNode::kAdmin, PcmkNode::kMonitor, PcmkNode::kAdmin}));
    // Errors of the product's own bear no number: what they are is told in other tests.
    int raised = 0;
    for (std::size_t failing = 1; failing <= 8; ++failing) {
        tools.ForgetCalls();
        tools.FailAt(failing);
        try {
            AskAll();
        } catch (const ClusterException& e) {
            ++raised;
            EXPECT_NE(Reason(e.GetMessageList()), "");
        }
    }
    tools.FailAt(0);
    EXPECT_EQ(raised, 7);
}

}  // namespace
