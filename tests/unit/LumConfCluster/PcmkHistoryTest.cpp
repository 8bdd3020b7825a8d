// What a cluster's history leaves in doubt of something that is told to run nowhere.
#include "adapters/PcmkHistory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PcmkHistoryText.h"
#include "PcmkNode.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;
using R = std::string;
using namespace pcmkHistory;

XmlDataTree Tree(const R& text) {
    return PcmkTree("cibadmin", {String_t::FromUtf8(text)});
}

constexpr const char* kNodes =
    "<node name='a' id='1' online='true'/><node name='b' id='2' online='true'/>"
    "<node name='off' id='3' online='false'/><node name='new' id='4' online='true' pending='true'/>"
    "<node name='bad' id='5' online='true' unclean='true'/><node name='far' id='far' online='true' type='remote'/>";

/// Of the first of these resources. @param status  what stands in the status @param rest  what is configured
PcmkDoubt DoubtOf(const R& resources, const R& status, const R& rest = "") {
    const PcmkSight sight =
        PcmkSightOf("crm_mon", Tree(R("<pacemaker-result><summary/><nodes>") + kNodes + "</nodes><resources>" +
                                    resources + "</resources><status code='0'/></pacemaker-result>"));
    const XmlDataTree cib =
        Tree("<cib><configuration>" + rest + "</configuration><status>" + status + "</status></cib>");
    return PcmkHistory(cib).DoubtOf(sight.resources.at(0), sight.nodes);
}
bool IsSure(const R& resources, const R& status, const R& rest = "") {
    return DoubtOf(resources, status, rest).nodes.empty();
}
/// On the node b, and no other look would tell more.
bool IsUnprobed(const R& resources, const R& status, const R& rest = "") {
    const PcmkDoubt doubt = DoubtOf(resources, status, rest);
    return doubt.nodes == std::vector<String_t>{"b"} && !doubt.isOutdated;
}
bool RunsByNow(const R& resources, const R& status) {
    const PcmkDoubt doubt = DoubtOf(resources, status);
    return doubt.nodes.size() == 1 && doubt.isOutdated;
}

const R kStopped = PcmkResourceText("r", "Stopped");
const R kIdle = Resource("r", Ended("monitor", 3, 7));

TEST(PcmkHistory, WhatEachNodeRemembersAsStoppedRunsNowhere) {
    EXPECT_TRUE(IsSure(kStopped, Node("a", kIdle) + Node("b", kIdle)));
    EXPECT_TRUE(IsSure(kStopped, Node("a", Resource("r", Ended("start", 3, 0) + Ended("stop", 9, 0))) +
                                     Node("b", Resource("r", Ended("stop", 10, 0) + Ended("monitor", 8, 0)))))
        << "the last one counts, wherever it stands";
    EXPECT_TRUE(IsSure(kStopped, Node("a", Resource("r", Ended("start", 3, 1))) + Node("b", kIdle)));
}

TEST(PcmkHistory, ANodeWhoseHistoryIsGoneLeavesInDoubtWhatRunsThere) {
    EXPECT_TRUE(IsUnprobed(kStopped, Node("a", kIdle) + NodeWithout("b")));
    EXPECT_TRUE(IsSure(
        kStopped, Node("a", kIdle) + Node("b", kIdle) + NodeWithout("off") + NodeWithout("new") + NodeWithout("bad")))
        << "of these nothing is asked";
    EXPECT_TRUE(IsSure(kStopped, Node("a", kIdle) + Node("b", kIdle) + NodeWithout("far")))
        << "a remote node has none before its first operation";
}

TEST(PcmkHistory, WhatHasNoHistoryOnANodeHasYetToBeProbedThere) {
    EXPECT_TRUE(IsUnprobed(kStopped, Node("a", kIdle) + Node("b", Resource("other", Ended("start", 1, 0)))));
    EXPECT_TRUE(IsSure(kStopped, Node("a", kIdle) + Node("b", kIdle) + Node("far", "")))
        << "on a remote node not everything is probed";
    const R probing = Resource("r", Begun("monitor", "0"));
    EXPECT_EQ(DoubtOf(kStopped, Node("a", "") + Node("b", kIdle) + Node("far", probing)).nodes,
              (std::vector<String_t>{"a", "far"}));
}

TEST(PcmkHistory, WhatIsNotProbedEverywhereMayLackAHistory) {
    const R status = Node("a", kIdle) + Node("b", "");
    for (const char* limit :
         {"<constraints><rsc_location rsc='r' node='b' resource-discovery='never'/></constraints>",
          "<constraints><rsc_location rsc='s' node='a' resource-discovery='exclusive'/></constraints>",
          "<crm_config><cluster_property_set><nvpair name='enable-startup-probes' value='false'/>"
          "</cluster_property_set></crm_config>"}) {
        EXPECT_TRUE(IsSure(kStopped, status, limit)) << limit;
        EXPECT_TRUE(IsUnprobed(kStopped, Node("a", kIdle) + NodeWithout("b"), limit))
            << "a whole history is another thing";
    }
    EXPECT_TRUE(IsUnprobed(kStopped, status,
                           "<constraints><rsc_location rsc='r' node='b' resource-discovery='always'/></constraints>"));
}

TEST(PcmkHistory, AProbeThatHasNotEndedLeavesInDoubtWhatItWillFind) {
    EXPECT_TRUE(IsUnprobed(kStopped, Node("a", kIdle) + Node("b", Resource("r", Begun("monitor", "0")))));
    EXPECT_TRUE(
        IsSure(kStopped, Node("a", kIdle) + Node("b", Resource("r", Ended("monitor", 3, 7) + Begun("start", "0")))))
        << "what starts does not run yet";
    EXPECT_TRUE(IsSure(
        kStopped, Node("a", kIdle) + Node("b", Resource("r", Ended("monitor", 3, 7) + Begun("monitor", "10000")))));
}

TEST(PcmkHistory, WhatRunsByItsLastOperationIsToBeSeenAgain) {
    for (const char* operation : {"start", "monitor", "promote", "demote", "migrate_from"}) {
        for (const int code : {0, 8, 190, 191}) {
            EXPECT_TRUE(RunsByNow(
                kStopped, Node("a", Resource("r", Ended("stop", 2, 0) + Ended(operation, 3, code))) + Node("b", kIdle)))
                << operation << " " << code;
        }
    }
    for (const char* operation : {"stop", "migrate_to", "notify", "unheard"})
        EXPECT_TRUE(IsSure(kStopped, Node("a", Resource("r", Ended(operation, 3, 0))) + Node("b", kIdle))) << operation;
}

TEST(PcmkHistory, WhatShouldNotRunOrIsToldSomewhereIsNotDoubted) {
    const R gone = NodeWithout("a") + NodeWithout("b");
    EXPECT_TRUE(IsSure(PcmkResourceText("r", "Stopped", "", "target_role='Stopped'"), gone));
    EXPECT_TRUE(IsSure(PcmkResourceText("r", "Starting", "b"), gone));
    EXPECT_TRUE(IsSure("<group id='g'>" + PcmkResourceText("r", "Started", "b") + "</group>", gone));
    EXPECT_EQ(DoubtOf("<group id='g'>" + PcmkResourceText("q", "Started", "b") + kStopped + "</group>", gone).nodes,
              (std::vector<String_t>{"a", "b"}));
}

TEST(PcmkHistory, CopiesOfACloneShareAHistoryOrHaveTheirOwn) {
    const auto clone = [](const R& copies) { return "<clone id='c' multi_state='true'>" + copies + "</clone>"; };
    const R here = PcmkResourceText("r", "Unpromoted", "a"), nowhere = PcmkResourceText("r", "Stopped");
    EXPECT_TRUE(IsSure(clone(here + PcmkResourceText("r", "Unpromoted", "b")), NodeWithout("a") + NodeWithout("b")))
        << "there is a copy on each";
    EXPECT_TRUE(IsUnprobed(clone(here + nowhere), Node("a", kIdle) + NodeWithout("b")));
    EXPECT_TRUE(IsUnprobed(clone(here), Node("a", kIdle) + NodeWithout("b"))) << "which copy it was, nobody tells";
    EXPECT_TRUE(RunsByNow(clone(here), Node("a", kIdle) + Node("b", Resource("r", Ended("promote", 4, 0)))));
    EXPECT_TRUE(IsSure(clone(here), Node("a", kIdle) + Node("b", kIdle)));
    const R unique = clone(PcmkResourceText("r:0", "Unpromoted", "a") + PcmkResourceText("r:1", "Stopped"));
    const R stopped = Ended("stop", 4, 0), ofA = Node("a", Resource("r:1", stopped));
    EXPECT_TRUE(IsSure(unique, ofA + Node("b", Resource("r:0", stopped) + Resource("r:1", stopped))));
    EXPECT_TRUE(RunsByNow(unique, ofA + Node("b", Resource("r:0", stopped) + Resource("r:1", Ended("start", 4, 0)))));
    EXPECT_EQ(DoubtOf(unique, Node("a", "") + Node("b", Resource("r:0", stopped) + Resource("r:1", stopped))).nodes,
              std::vector<String_t>{"a"})
        << "another copy is there";
}

/// The bundle x of a replica with the primitive r. @param nodes  where the container is, and the connection, and where
/// the primitive is told, which is the container's own node
R Bundle(const R& container, const R& connection, const R& inner) {
    const auto role = [](const R& nodes) { return R(nodes.empty() ? "Stopped" : "Started"); };
    return "<bundle id='x'><replica id='0'>" + PcmkResourceText("x-ip-10.0.0.5", role(container), container) +
           PcmkResourceText("r", role(inner), inner) + PcmkResourceText("x-podman-0", role(container), container) +
           "<resource id='x-0' resource_agent='ocf:pacemaker:remote' role='" + role(connection) + "'>" +
           (connection.empty() ? "" : "<node name='" + connection + "'/>") + "</resource></replica></bundle>";
}
const R kBundled = "<resources><bundle id='x'><podman/><network/><primitive id='r'/></bundle></resources>";
R OfBundle(const R& operations) {
    return Resource("x-ip-10.0.0.5", operations) + Resource("x-podman-0", operations) + Resource("x-0", operations);
}

TEST(PcmkHistory, ARefreshedBundleHasYetToBeProbed) {
    const R stopped = Bundle("", "", ""), a = Node("a", OfBundle(Ended("monitor", 3, 7)));
    EXPECT_TRUE(IsSure(stopped, a + Node("b", OfBundle(Ended("stop", 9, 0))), kBundled))
        << "what is inside is no matter of these nodes";
    EXPECT_TRUE(IsUnprobed(stopped, a + NodeWithout("b"), kBundled));
    EXPECT_TRUE(IsUnprobed(stopped, a + Node("b", ""), kBundled));
    for (const char* missing : {"x-ip-10.0.0.5", "x-podman-0", "x-0"}) {
        R known;
        for (const char* each : {"x-ip-10.0.0.5", "x-podman-0", "x-0"})
            known += each == missing ? R() : Resource(each, Ended("monitor", 3, 7));
        EXPECT_TRUE(IsUnprobed(stopped, a + Node("b", known), kBundled)) << missing;
    }
    const R alone =
        "<bundle id='x'><replica id='0'>" + PcmkResourceText("x-podman-0", "Stopped") + "</replica></bundle>";
    const R configured = "<resources><bundle id='x'><podman/></bundle></resources>";
    EXPECT_TRUE(IsUnprobed(alone, a + Node("b", ""), configured));
    EXPECT_TRUE(
        IsUnprobed(Bundle("b", "", ""), a + Node("b", Resource("x-podman-0", Ended("monitor", 3, 0))), kBundled))
        << "the container has been found, the connection to it has not";
}

TEST(PcmkHistory, WhatIsInsideABundleIsLookedForOnTheNodeOfItsContainer) {
    const R status = Node("a", OfBundle(Ended("monitor", 3, 7))) + Node("b", OfBundle(Ended("start", 3, 0)));
    const R partial = Bundle("b", "b", "");
    EXPECT_TRUE(IsUnprobed(partial, status + Node("x-0", ""), kBundled));
    EXPECT_TRUE(IsUnprobed(partial, status + NodeWithout("x-0"), kBundled));
    EXPECT_TRUE(IsUnprobed(partial, status + Node("x-0", Resource("r", Begun("monitor", "0"))), kBundled));
    EXPECT_TRUE(IsSure(partial, status + Node("x-0", Resource("r", Ended("stop", 3, 0))), kBundled));
    EXPECT_TRUE(IsSure(partial, status, kBundled));
    EXPECT_TRUE(IsSure(Bundle("b", "b", "x-0"), status + Node("x-0", ""), kBundled));
    const PcmkDoubt doubt = DoubtOf(partial, status + Node("x-0", Resource("r", Ended("start", 3, 0))), kBundled);
    EXPECT_EQ(doubt.nodes, std::vector<String_t>{"b"});
    EXPECT_TRUE(doubt.isOutdated);
}

/// With several replicas on a host what is inside bears the number of its copy.
TEST(PcmkHistory, WhatIsInsideABundleMayBearANumber) {
    const R nowhere = "<bundle id='x'><replica id='0'>" + PcmkResourceText("r:0", "Stopped") +
                      PcmkResourceText("x-podman-0", "Stopped") + "</replica></bundle>";
    const R known = Node("a", OfBundle(Ended("monitor", 3, 7)));
    EXPECT_TRUE(IsSure(nowhere, known + Node("b", OfBundle(Ended("stop", 9, 0))), kBundled));
    EXPECT_TRUE(IsUnprobed(nowhere, known + Node("b", ""), kBundled));
}

TEST(PcmkHistory, EachReplicaOfAPromotableBundleIsLookedForByItself) {
    const auto replica = [](const R& number, const R& host) {
        const R role = host.empty() ? "Stopped" : "Started";
        return "<replica id='" + number + "'>" + PcmkResourceText("x-podman-" + number, role, host) + "</replica>";
    };
    const auto bundle = [&](const R& other) { return "<bundle id='x'>" + replica("0", "a") + other + "</bundle>"; };
    const R idle = Ended("monitor", 3, 7), both = Resource("x-podman-0", idle) + Resource("x-podman-1", idle);
    EXPECT_TRUE(IsSure(bundle(replica("1", "")), Node("a", both) + Node("b", both)));
    EXPECT_TRUE(IsUnprobed(bundle(replica("1", "")), Node("a", both) + Node("b", Resource("x-podman-0", idle))));
    EXPECT_TRUE(IsSure(bundle(replica("1", "b")), Node("a", "") + Node("b", ""))) << "each is somewhere";
}

TEST(PcmkHistory, WhatIsInAContainerByItsMetaAttributeIsNotProbed) {
    const R status = Node("a", kIdle) + Node("b", "");
    const auto meta = [](const R& container) {
        return "<meta_attributes id='m'><nvpair id='n' name='container' value='" + container + "'/></meta_attributes>";
    };
    const auto configured = [](const R& resources) {
        return "<resources><primitive id='vm'/>" + resources + "</resources>";
    };
    for (const R& resources : {"<primitive id='r'>" + meta("vm") + "</primitive>",
                               "<template id='t'>" + meta("vm") + "</template><primitive id='r' template='t'/>",
                               "<group id='g'>" + meta("vm") + "<primitive id='r'/></group>"}) {
        EXPECT_TRUE(IsSure(kStopped, status, configured(resources))) << resources;
        EXPECT_TRUE(IsUnprobed(kStopped, Node("a", kIdle) + NodeWithout("b"), configured(resources)))
            << "a whole history is another thing";
    }
    for (const char* container : {"nobody", "r", ""}) {
        EXPECT_TRUE(IsUnprobed(kStopped, status, configured("<primitive id='r'>" + meta(container) + "</primitive>")))
            << container;
    }
}

TEST(PcmkHistory, ADocumentWithoutAStatusRaisesNoDoubt) {
    EXPECT_TRUE(IsSure(kStopped, ""));
    EXPECT_TRUE(IsSure(kStopped, Node("A", "")));
    for (const char* text : {"<x/>", "<cib/>", "<cib><status><node_state/></status></cib>"}) {
        const PcmkSight sight =
            PcmkSightOf("crm_mon", Tree(R("<pacemaker-result><summary/><nodes>") + kNodes + "</nodes><resources>" +
                                        kStopped + "</resources><status code='0'/></pacemaker-result>"));
        EXPECT_TRUE(PcmkHistory(Tree(text)).DoubtOf(sight.resources.at(0), sight.nodes).nodes.empty()) << text;
    }
}

}  // namespace
