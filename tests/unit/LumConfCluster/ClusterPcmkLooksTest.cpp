// A group that Pacemaker tells to run nowhere, though it cannot know that, is not taken for stopped.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "ClusterResourceGroupImpl.h"
#include "ClusterSeen.h"
#include "Exceptions.h"
#include "LumConfCluster/Cluster.h"
#include "PcmkFixture.h"
#include "PcmkHistoryText.h"
#include "Raised.h"

namespace {

using namespace LumConfCluster;
using namespace pcmkHistory;
using LumConf::ClusterException;
using LumPalStr::String_t;

class PcmkLooks : public Pcmk {
protected:
    static std::string Web(const std::string& role, const std::string& where) {
        return "<group id='web'>" + PcmkResourceText("web-ip", role, where) +
               PcmkResourceText("web-server", role, where) + "</group>";
    }
    static std::string History(const char* operation, int code) {
        return Resource("web-ip", Ended(operation, 5, code)) + Resource("web-server", Ended(operation, 6, code));
    }
    /// Each look asks both tools.
    void ExpectLooks(std::size_t count) {
        EXPECT_EQ(tools.Count(PcmkNode::kMonitor), count);
        EXPECT_EQ(tools.Count(PcmkNode::kAdmin), count);
    }
    ClusterResourceGroup Look() {
        const Cluster cluster;
        tools.ForgetCalls();
        return cluster.GetGroups()["web"];
    }
    const std::string stopped = Web("Stopped", ""), running = Web("Started", "south");
    const std::string idle = History("monitor", 7), active = History("start", 0);
};

TEST_F(PcmkLooks, OneThatWasWrittenBehindTheLookIsLookedForOnceMore) {
    node.SetResources(running);
    node.SetStatus(Node("north", idle) + Node("south", active));
    node.SetResourcesOnce(stopped);
    const ClusterResourceGroup web = Look();
    EXPECT_EQ(web.GetState(), RGState::Online);
    EXPECT_EQ(web.GetActiveNode().GetName(), "south");
    EXPECT_EQ(web.GetVirtualIP(), "10.0.0.7");
    EXPECT_TRUE(web.IsSettled());
    ExpectLooks(2);
}

TEST_F(PcmkLooks, OneThatTheSecondLookTellsNoBetterIsNotSettled) {
    node.SetResources(stopped);
    node.SetStatus(Node("north", idle) + Node("south", active));
    const ClusterResourceGroup web = Look();
    EXPECT_EQ(web.GetState(), RGState::Unknown);
    EXPECT_EQ(web.GetLocalState(), RGState::Offline) << "not here";
    EXPECT_FALSE(web.IsSettled());
    ExpectLooks(2);
}

TEST_F(PcmkLooks, OneOfWhichAMemberIsNowhereForAMomentIsNotTakenForStopped) {
    node.SetResources(running);
    node.SetStatus(Node("north", idle) + Node("south", active));
    node.SetResourcesOnce("<group id='web'>" + PcmkResourceText("web-ip", "Started", "south") +
                          PcmkResourceText("web-server", "Stopped") + "</group>");
    EXPECT_EQ(Look().GetState(), RGState::Online);
    ExpectLooks(2);
}

TEST_F(PcmkLooks, OneOfWhichThePromotedCopyIsNowhereForAMomentIsNotTakenForUnpromoted) {
    const auto clone = [](const std::string& south) {
        return "<clone id='web' multi_state='true'>" + PcmkResourceText("x", "Unpromoted", "north") + south +
               "</clone>";
    };
    node.SetStatus(Node("north", Resource("x", Ended("start", 5, 0))) +
                   Node("south", Resource("x", Ended("promote", 7, 0))));
    node.SetResources(clone(PcmkResourceText("x", "Promoted", "south")));
    node.SetResourcesOnce(clone(PcmkResourceText("x", "Stopped")));
    EXPECT_EQ(Look().GetActiveNode().GetName(), "south");
    ExpectLooks(2);
}

TEST_F(PcmkLooks, OneThatTheClusterHasYetToLookForIsUnknownAndNotSettled) {
    node.SetResources(stopped);
    for (const std::string& south :
         {NodeWithout("south"), Node("south", ""), Node("south", Resource("web-ip", Begun("monitor", "0")))}) {
        node.SetStatus(Node("north", idle) + south);
        const ClusterResourceGroup web = Look();
        EXPECT_EQ(web.GetState(), RGState::Unknown) << south;
        EXPECT_EQ(web.GetLocalState(), RGState::Offline) << "this node remembers it as stopped";
        EXPECT_EQ(web.GetDetail(), "Unprobed");
        EXPECT_FALSE(web.IsSettled());
        EXPECT_EQ(web.GetVirtualIP(), "10.0.0.7");
        EXPECT_EQ(web.GetActiveNode().GetName(), "");
        ExpectLooks(1);
    }
}

TEST_F(PcmkLooks, OneThatIsToldOnTwoNodesIsNotSettled) {
    node.SetResources(Web("Started", "south north"));
    const ClusterResourceGroup web = Look();
    EXPECT_EQ(web.GetState(), RGState::Offline);
    EXPECT_EQ(web.GetDetail(), "Partial");
    EXPECT_FALSE(web.IsSettled());
    node.SetResources("<group id='web'>" + PcmkResourceText("web-ip", "Started", "south") +
                      PcmkResourceText("web-server", "Started", "north") + "</group>");
    EXPECT_TRUE(Look().IsSettled()) << "members may be apart";
    node.SetResources("<group id='web'>" + PcmkResourceText("web-ip", "Started", "south north") +
                      PcmkResourceText("web-server", "Started", "south", "failed='true'") + "</group>");
    EXPECT_TRUE(Look().IsSettled()) << "a failure is another thing";
}

TEST_F(PcmkLooks, OneThatIsPromotedTwiceIsNotSettledUnlessItMayBe) {
    node.SetResources("<clone id='web' multi_state='true'>" + PcmkResourceText("x", "Promoted", "south") +
                      PcmkResourceText("x", "Promoted", "north") + "</clone>");
    const auto configure = [&](const std::string& pair, const std::string& defaults = "") {
        const auto set = [](const std::string& inside) { return "<meta_attributes>" + inside + "</meta_attributes>"; };
        node.SetCib("<resources><clone id='web'>" + set(pair) +
                    "<primitive id='x'/></clone></resources><rsc_defaults>" + set(defaults) + "</rsc_defaults>");
    };
    const auto pair = [](const std::string& name, const std::string& value) {
        return "<nvpair name='" + name + "' value='" + value + "'/>";
    };
    for (const std::string& once : {std::string(), pair("promoted-max", "1"), pair("master-max", "1")}) {
        configure(once);
        const ClusterResourceGroup web = Look();
        EXPECT_FALSE(web.IsSettled()) << once;
        EXPECT_FALSE(web.IsEverywhere()) << once;
        EXPECT_EQ(web.GetState(), RGState::Offline) << once;
        EXPECT_EQ(web.GetLocalState(), RGState::Offline) << once;
        EXPECT_EQ(web.GetDetail(), "Partial") << once;
    }
    for (const char* name : {"promoted-max", "master-max"}) {
        for (const bool isDefault : {false, true}) {
            configure(isDefault ? "" : pair(name, "2"), isDefault ? pair(name, "2") : "");
            EXPECT_TRUE(Look().IsSettled()) << name << isDefault;
            EXPECT_TRUE(Look().IsEverywhere()) << name << isDefault;
        }
    }
    node.SetCib(
        "<resources><clone id='other'><meta_attributes id='m'><nvpair name='promoted-max' value='2'/></meta_attributes>"
        "</clone><clone id='web'><meta_attributes id-ref='m'/><primitive id='x'/></clone></resources>");
    EXPECT_TRUE(Look().IsSettled()) << "it may stand elsewhere";
}

/// A third node that knows nothing of it takes nothing from those where it is told.
TEST_F(PcmkLooks, OneThatIsPromotedTwiceMayBeOnEachOfThese) {
    node.SetNodes(PcmkNode::Node("north", "1", "online='true'") + PcmkNode::Node("south", "2", "online='true'") +
                  PcmkNode::Node("east", "3", "online='true'"));
    node.SetCib("<resources><clone id='web'><primitive id='x'/></clone></resources>");
    node.SetResources("<clone id='web' multi_state='true'>" + PcmkResourceText("x", "Promoted", "south") +
                      PcmkResourceText("x", "Promoted", "north") + PcmkResourceText("x", "Stopped") + "</clone>");
    for (const std::string& east : {Node("east", Resource("x", Ended("stop", 3, 0))), NodeWithout("east")}) {
        node.SetStatus(Node("north", Resource("x", Ended("promote", 3, 0))) +
                       Node("south", Resource("x", Ended("promote", 3, 0))) + east);
        const std::vector<String_t> may = Look().GetImpl()->mayBeOn;
        for (const char* each : {"north", "south"})
            EXPECT_NE(std::find(may.begin(), may.end(), String_t(each)), may.end()) << each << east;
    }
}

TEST_F(PcmkLooks, OneThatMayBeHereIsUnknownHere) {
    node.SetResources(stopped);
    node.SetStatus(NodeWithout("north") + Node("south", idle));
    EXPECT_EQ(Look().GetLocalState(), RGState::Unknown);
}

TEST_F(PcmkLooks, OneThatIsNotManagedIsLookedForToo) {
    Configure("conf.cluster.RGState.PCMK", "Unmanaged", "ONLINE");
    node.SetResources(PcmkResourceText("web", "Stopped", "", "managed='false'"));
    node.SetStatus(Node("north", Resource("web", Ended("stop", 3, 0))) + Node("south", ""));
    EXPECT_FALSE(Look().IsSettled()) << "a refresh in maintenance";
    node.SetStatus(Node("north", Resource("web", Ended("stop", 3, 0))) +
                   Node("south", Resource("web", Ended("stop", 3, 0))));
    EXPECT_TRUE(Look().IsSettled());
    EXPECT_EQ(Look().GetDetail(), "Unmanaged");
}

TEST_F(PcmkLooks, AConfigurationMayMapTheWordOfOneThatIsNotSettled) {
    Configure("conf.cluster.RGState.PCMK", "Unprobed", "OFFLINE");
    node.SetResources(stopped);
    node.SetStatus(NodeWithout("south"));
    EXPECT_EQ(Look().GetState(), RGState::Offline);
    EXPECT_FALSE(Look().IsSettled());
}

TEST_F(PcmkLooks, OneThatIsKnownToBeStoppedIsAskedForOnce) {
    node.SetResources(stopped);
    node.SetStatus(Node("north", idle) + Node("south", History("stop", 0)) + NodeWithout("east"));
    EXPECT_EQ(Look().GetState(), RGState::Offline);
    EXPECT_TRUE(Look().IsSettled());
    ExpectLooks(1);
}

TEST_F(PcmkLooks, WhatRunsOrNeedNotRunIsAskedForOnceHoweverTheHistoryStands) {
    node.SetStatus(NodeWithout("north") + NodeWithout("south"));
    const std::string disabled = PcmkResourceText("web", "Stopped", "", "target_role='Stopped'");
    const std::string failed = PcmkResourceText("web", "Started", "south", "failed='true'");
    const std::string clone = "<clone id='web' multi_state='false'>" + PcmkResourceText("x", "Stopped") + "</clone>";
    for (const std::string& resource : {running, disabled, failed, clone}) {
        node.SetResources(resource);
        Look();
        ExpectLooks(1);
    }
}

TEST_F(PcmkLooks, WhereNobodyTellsTheHistoryOfWhatIsMissingThereIsNoAnswer) {
    node.SetResources(stopped);
    const Cluster cluster;
    tools.Answer(PcmkNode::kAdmin, "", 1);
    EXPECT_RAISES(cluster.GetGroups(), ClusterException, 231);
    node.SetResources(running);
    EXPECT_EQ(cluster.GetGroups()["web"].GetState(), RGState::Online);
}

}  // namespace
