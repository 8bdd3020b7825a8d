#include "adapters/PcmkStates.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PcmkNode.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;
using R = std::string;

constexpr const char* kNodes =
    "<node name='a' id='1' online='true'/><node name='b' id='2' online='true'/>"
    "<node name='off' id='3' online='false'/><node name='bad' id='4' online='true' unclean='true'/>"
    "<node name='lost' id='5' online='false' unclean='true'/><node name='box-0' id='box-0' online='true' "
    "type='remote'/>"
    "<node name='box-1' id='box-1' online='true' type='remote'/>";

PcmkSight SightOf(const std::string& resources) {
    const std::string text = std::string("<pacemaker-result><summary/><nodes>") + kNodes + "</nodes><resources>" +
                             resources + "</resources><status code='0'/></pacemaker-result>";
    return PcmkSightOf("crm_mon", PcmkTree("crm_mon", {String_t::FromUtf8(text)}));
}

/// "Started@a|Stopped": the word, the node ("several" for more than there may be), and the word on the node a.
std::string Told(const std::string& element) {
    const PcmkSight sight = SightOf(element);
    if (sight.resources.size() != 1) return std::to_string(sight.resources.size()) + " resources";
    const PcmkStates states(sight.nodes);
    const PcmkState whole = states.Whole(sight.resources[0]);
    const std::string node = whole.several.empty() ? whole.node.ToUtf8() : "several";
    return whole.word + (node.empty() ? "" : "@" + node) + "|" + states.WordOn(sight.resources[0], "a");
}

R One(const std::string& role, const std::string& nodes = "", const std::string& flags = "") {
    return PcmkResourceText("r", role, nodes, flags);
}
R In(const char* element, const std::vector<R>& members, const char* flags = "") {
    std::string text = std::string("<") + element + " id='g' " + flags + ">";
    for (const R& member : members) text += member;
    return text + "</" + element + ">";
}
R Group(const std::vector<R>& members) {
    return In("group", members);
}
R Clone(const std::vector<R>& members) {
    return In("clone", members, "multi_state='false'");
}
R Promotable(const std::vector<R>& members) {
    return In("clone", members, "multi_state='true'");
}

struct Case {
    R element;
    const char* told;
};

void ExpectEach(const std::vector<Case>& rows) {
    for (const Case& row : rows) EXPECT_EQ(Told(row.element), row.told) << row.element;
}

TEST(PcmkStates, APrimitiveIsStartedWhereItRuns) {
    ExpectEach({{One("Started", "a"), "Started@a|Started"},
                {One("Started", "b"), "Started@b|Stopped"},
                {One("Stopped"), "Stopped|Stopped"},
                {One("Stopped", "", "target_role='Stopped'"), "Stopped|Stopped"},
                {One("Started"), "Stopped|Stopped"},
                {One("", "a"), "Partial@a|Partial"},
                {One("Unheard", "a"), "Partial@a|Partial"},
                {One("Started", "a b"), "Partial@several|Partial"}});
}

TEST(PcmkStates, WhatIsUnderWayIsNotDone) {
    ExpectEach(
        {{One("Started", "a", "pending='Starting'"), "Partial@a|Partial"},
         {One("Started", "a", "pending='Stopping'"), "Partial@a|Partial"},
         {One("Started", "a", "pending='Monitoring'"), "Started@a|Started"},
         {One("Started", "a", "pending='Migrating'"), "Started@a|Started"},
         {Promotable({One("Promoted", "a", "pending='Promoting'"), One("Unpromoted", "b")}), "Unpromoted|Unpromoted"},
         {Promotable({One("Promoted", "a", "pending='Demoting'"), One("Unpromoted", "b")}), "Unpromoted|Unpromoted"}});
}

TEST(PcmkStates, TroubleIsToldInPlaceOfTheRole) {
    ExpectEach({{One("Started", "a", "failed='true'"), "Failed@a|Failed"},
                {One("Stopped", "", "failed='true'"), "Failed|Stopped"},
                {One("Started", "a", "failed='true' failure_ignored='true'"), "Started@a|Started"},
                {One("Started", "a", "blocked='true'"), "Blocked@a|Blocked"},
                {One("Stopped", "", "blocked='true'"), "Blocked|Stopped"},
                {One("Started", "a", "failed='true' blocked='true'"), "Blocked@a|Blocked"},
                {One("Started", "a", "managed='false'"), "Unmanaged@a|Unmanaged"},
                {One("Stopped", "", "managed='false'"), "Unmanaged|Stopped"},
                {One("Started", "a", "managed='false' failed='true'"), "Failed@a|Failed"},
                {One("Started", "bad"), "Failed@bad|Stopped"},
                {One("Started", "lost"), "Failed@lost|Stopped"},
                {One("Started", "off"), "Failed@off|Stopped"},
                {One("Started", "nobody"), "Failed@nobody|Stopped"},
                {One("Started", "bad", "managed='false' blocked='true'"), "Failed@bad|Stopped"},
                {One("Started", "a bad"), "Failed|Failed"}});
}

TEST(PcmkStates, AGroupIsStartedWhereAllOfItIs) {
    const R on = One("Started", "a"), off = One("Stopped"), other = One("Started", "b");
    const R disabled = One("Stopped", "", "target_role='stopped'"), goes = One("Started", "a", "target_role='Stopped'");
    ExpectEach({{Group({on, on}), "Started@a|Started"},
                {Group({other, other}), "Started@b|Stopped"},
                {Group({on, off}), "Partial@a|Partial"},
                {Group({off, on}), "Partial@a|Partial"},
                {Group({on, other}), "Partial|Partial"},
                {Group({on, One("Started", "a b")}), "Partial@several|Partial"},
                {Group({off, off}), "Stopped|Stopped"},
                {Group({}), "Stopped|Stopped"},
                {Group({on, disabled}), "Started@a|Started"},
                {Group({disabled, on}), "Started@a|Started"},
                {Group({on, disabled, off}), "Partial@a|Partial"},
                {Group({disabled, disabled}), "Stopped|Stopped"},
                {Group({goes, disabled}), "Partial@a|Partial"},
                {Group({on, One("Started", "a", "failed='true'")}), "Failed@a|Failed"},
                {Group({on, One("Stopped", "", "managed='false'")}), "Unmanaged@a|Unmanaged"},
                {Group({on, One("Stopped", "", "managed='false' target_role='Stopped'")}), "Started@a|Started"},
                {Group({on, One("Stopped", "", "blocked='true'")}), "Blocked@a|Blocked"}});
}

TEST(PcmkStates, OfACloneTheBestCopyCounts) {
    const R on = One("Started", "a"), off = One("Stopped"), other = One("Started", "b");
    const R failed = One("Started", "a", "failed='true'"), idle = One("Started", "b", "managed='false'");
    ExpectEach({{Clone({on, other}), "Started|Started"},
                {Clone({other, off}), "Started|Stopped"},
                {Clone({off, off}), "Stopped|Stopped"},
                {Clone({}), "Stopped|Stopped"},
                {Clone({failed, other}), "Started|Failed"},
                {Clone({failed, off}), "Failed|Failed"},
                {Clone({failed, idle}), "Failed|Failed"},
                {Clone({idle, off}), "Unmanaged|Stopped"},
                {Clone({One("Started", "bad"), off}), "Failed|Stopped"},
                {Clone({Group({on, on}), Group({other, off})}), "Started|Started"},
                {Clone({Group({on, off}), Group({off, off})}), "Partial|Partial"}});
}

TEST(PcmkStates, APromotableCloneIsWhatItsPromotedCopyIs) {
    const R first = One("Promoted", "a"), second = One("Unpromoted", "b"), off = One("Stopped");
    ExpectEach({{Promotable({first, second}), "Promoted@a|Promoted"},
                {Promotable({One("Unpromoted", "a"), One("Promoted", "b")}), "Promoted@b|Unpromoted"},
                {Promotable({One("Slave", "a"), One("Master", "b")}), "Promoted@b|Unpromoted"},
                {Promotable({One("Unpromoted", "a"), second}), "Unpromoted|Unpromoted"},
                {Promotable({One("Started", "a"), off}), "Unpromoted|Started"},
                {Promotable({off, off}), "Stopped|Stopped"},
                {Promotable({first, One("Promoted", "b")}), "Partial@several|Partial"},
                {Promotable({first, One("Promoted", "b", "failed='true'")}), "Failed@b|Promoted"},
                {Promotable({One("Promoted", "a", "failed='true'"), second}), "Failed@a|Failed"},
                {Promotable({One("Promoted", "a", "managed='false'"), second}), "Unmanaged@a|Unmanaged"},
                {Promotable({One("Promoted", "lost"), first}), "Failed@lost|Promoted"},
                {Promotable({first, One("Unpromoted", "b", "failed='true'")}), "Promoted@a|Promoted"},
                {Promotable({One("Unpromoted", "a", "failed='true'"), off}), "Failed|Failed"},
                {Promotable({Group({first, first}), Group({second, second})}), "Promoted@a|Promoted"},
                {Promotable({Group({first, One("Unpromoted", "a")}), Group({second, second})}), "Partial@a|Partial"}});
}

TEST(PcmkStates, WhereSeveralMayBePromotedTheyAreNowhereInParticular) {
    PcmkSight sight = SightOf(Promotable({One("Promoted", "a"), One("Promoted", "b")}));
    sight.resources.at(0).isOftenPromoted = true;
    const PcmkState whole = PcmkStates(sight.nodes).Whole(sight.resources[0]);
    EXPECT_STREQ(whole.word, "Promoted");
    EXPECT_EQ(whole.node, "");
    EXPECT_TRUE(whole.several.empty());
}

R Replica(int number, const std::string& host, const std::string& role) {
    const std::string name = "box-" + std::to_string(number);
    const std::string inner = host.empty() ? "" : name;
    return "<replica id='" + std::to_string(number) + "'>" +
           PcmkResourceText("ip", host.empty() ? "Stopped" : "Started", host) + PcmkResourceText("inner", role, inner) +
           PcmkResourceText("docker", host.empty() ? "Stopped" : "Started", host) + "<resource id='" + name +
           "' resource_agent='ocf:pacemaker:remote' role='" +
           (host.empty() ? "Stopped'/>" : "Started'><node name='" + host + "'/></resource>") + "</replica>";
}

TEST(PcmkStates, ABundleIsWhereItsContainersAre) {
    ExpectEach({{In("bundle", {Replica(0, "a", "Started")}), "Started@a|Started"},
                {In("bundle", {Replica(0, "b", "Started")}), "Started@b|Stopped"},
                {In("bundle", {Replica(0, "", "Stopped")}), "Stopped|Stopped"},
                {In("bundle", {Replica(0, "a", "Started"), Replica(1, "b", "Started")}), "Started|Started"},
                {In("bundle", {Replica(0, "", "Stopped"), Replica(1, "b", "Started")}), "Started|Stopped"},
                {In("bundle", {Replica(0, "a", "Unpromoted"), Replica(1, "b", "Promoted")}), "Promoted@b|Unpromoted"},
                {In("bundle", {}), "Stopped|Stopped"}});
    EXPECT_TRUE(SightOf(In("bundle", {Replica(0, "a", "Started")})).nodes[5].isInContainer);
    EXPECT_FALSE(SightOf(PcmkResourceText("box-0", "Started", "a")).nodes[5].isInContainer);
}

TEST(PcmkStates, WhatIsNoLongerConfiguredIsOneResource) {
    ExpectEach({{One("Started", "a", "orphaned='true'") + One("Started", "b", "orphaned='true'"), "Partial|Partial"},
                {One("Started", "a", "orphaned='true'"), "Started@a|Started"},
                {R("<unknown id='x'/>") + One("Started", "a"), "Started@a|Started"}});
}

}  // namespace
