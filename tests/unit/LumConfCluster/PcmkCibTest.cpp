#include "adapters/PcmkCib.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PcmkNode.h"
#include "adapters/PcmkPlacement.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;

XmlDataTree Tree(const std::string& text) {
    return PcmkTree("cibadmin", {String_t::FromUtf8(text)});
}
XmlDataTree Cib(const std::string& inside) {
    return Tree("<cib><configuration>" + inside + "</configuration></cib>");
}

std::string AddressIn(const std::string& resources, const std::string& more = "") {
    const XmlDataTree tree = Cib(more + "<resources>" + resources + "</resources>");
    return PcmkCib(tree).AddressOf("g").ToUtf8();
}
std::string Attributes(const std::string& pairs, const std::string& id = "s") {
    return "<instance_attributes id='" + id + "'>" + pairs + "</instance_attributes>";
}
std::string Pair(const std::string& name, const std::string& value, const std::string& id = "p") {
    return "<nvpair id='" + id + "' name='" + name + "' value='" + value + "'/>";
}
std::string Ip(const std::string& inside, const std::string& id = "g", const std::string& type = "IPaddr2") {
    return "<primitive id='" + id + "' class='ocf' provider='heartbeat' type='" + type + "'>" + inside + "</primitive>";
}

TEST(PcmkCib, TheAddressIsThatOfTheFirstAddressResource) {
    const std::string first = Ip(Attributes(Pair("nic", "eth0") + Pair("ip", "10.0.0.1")), "a");
    const std::string second = Ip(Attributes(Pair("ip", "10.0.0.2")), "b", "IPaddr");
    const std::string other = Ip(Attributes(Pair("ip", "10.0.0.9")), "c", "iSCSITarget");
    struct Case {
        std::string resources;
        const char* address;
    };
    for (const Case& row :
         {Case{"<group id='g'>" + first + second + "</group>", "10.0.0.1"},
          Case{"<group id='g'>" + other + second + first + "</group>", "10.0.0.2"},
          Case{"<group id='g'>" + Ip("", "x") + second + "</group>", "10.0.0.2"},
          Case{"<clone id='g'><group id='h'>" + first + "</group></clone>", "10.0.0.1"},
          Case{"<master id='g'>" + first + "</master>", "10.0.0.1"},
          Case{"<group id='h'>" + first + "</group><group id='g'>" + other + "</group>", ""},
          Case{"<group id='h'><primitive id='g'/></group>", ""}, Case{Ip(Attributes(Pair("IP", "10.0.0.1"))), ""},
          Case{"<bundle id='g'><docker/><network ip-range-start='10.0.0.5'/></bundle>", "10.0.0.5"}, Case{"", ""}}) {
        EXPECT_EQ(AddressIn(row.resources), row.address) << row.resources;
    }
}

TEST(PcmkCib, AnAddressMayStandInATemplateOrElsewhere) {
    const std::string elsewhere = Ip(Attributes(Pair("ip", "10.0.0.3", "there"), "set"), "other");
    const std::string byTemplate = "<primitive id='g' template='t'>";
    const auto made = [](const std::string& inside) {
        return "<template id='t' class='ocf' provider='heartbeat' type='IPaddr2'>" + inside + "</template>";
    };
    struct Case {
        std::string resources;
        const char* address;
    };
    for (const Case& row :
         {Case{made(Attributes(Pair("ip", "10.0.0.4"))) + byTemplate + "</primitive>", "10.0.0.4"},
          Case{made(Attributes(Pair("ip", "10.0.0.4"))) + byTemplate + Attributes(Pair("ip", "10.0.0.5")) +
                   "</primitive>",
               "10.0.0.5"},
          Case{made(Attributes(Pair("nic", "x"))) + byTemplate + "</primitive>", ""},
          Case{byTemplate + "</primitive>", ""},
          Case{elsewhere + Ip("<instance_attributes id-ref='set'/>"), "10.0.0.3"},
          Case{Ip("<instance_attributes id-ref='set'/>") + elsewhere, "10.0.0.3"},
          Case{elsewhere + Ip(Attributes("<nvpair id-ref='there'/>", "own")), "10.0.0.3"},
          Case{elsewhere + Ip(Attributes("<nvpair id-ref='there' name='ip'/>", "own")), "10.0.0.3"},
          Case{elsewhere + Ip(Attributes("<nvpair id-ref='there' name='nic'/>", "own")), ""},
          Case{made("<instance_attributes id-ref='set'/>") + elsewhere + byTemplate + "</primitive>", "10.0.0.3"},
          Case{Ip("<instance_attributes id-ref='nowhere'/>"), ""}, Case{Ip("<instance_attributes id-ref='g'/>"), ""},
          Case{Ip("<instance_attributes id='self' id-ref='self'/>"), ""},
          Case{Ip(Attributes("<rule/>" + Pair("ip", "10.0.0.6"), "a") + Attributes(Pair("ip", "10.0.0.7"), "b")),
               "10.0.0.7"},
          Case{Ip(Attributes("<rule/>" + Pair("ip", "10.0.0.6"), "a")), "10.0.0.6"}}) {
        EXPECT_EQ(AddressIn(row.resources), row.address) << row.resources;
    }
}

TEST(PcmkCib, WhatIsNoConfigurationTellsNothing) {
    for (const char* text :
         {"<cib/>", "<x><configuration/></x>", "<configuration/>", "<cib><configuration>x</configuration></cib>",
          "<cib><configuration><crm_config/><resources/></configuration></cib>"}) {
        const XmlDataTree tree = Tree(text);
        const PcmkCib cib(tree);
        EXPECT_EQ(cib.ClusterName(), "") << text;
        EXPECT_EQ(cib.AddressOf("g"), "") << text;
        EXPECT_EQ(cib.IdsOf({"g", false, false, false, {}, {"h"}}).size(), 2u) << text;
    }
    const XmlDataTree none;
    EXPECT_EQ(PcmkCib(none).ClusterName(), "");
}

/// The nodes a, b and c; the group g of m, or the promotable clone p of q.
struct Placed {
    std::string constraints;
    const char* nodes;
    const char* resource = "g";
    bool isOptIn = false;
    std::string rest = "";
};

std::string NodesOf(const Placed& placed) {
    const std::string seen = std::string("<pacemaker-result><summary><cluster_options symmetric-cluster='") +
                             (placed.isOptIn ? "false" : "true") + "'/></summary><nodes>" +
                             ::PcmkNode::Node("a", "1", "online='true'") + ::PcmkNode::Node("b", "2", "online='true'") +
                             ::PcmkNode::Node("c", "3", "online='false'") + "</nodes><resources>" + "<group id='g'>" +
                             PcmkResourceText("m", "Stopped") + "</group><clone id='p' multi_state='true'>" +
                             PcmkResourceText("q", "Stopped") + "</clone></resources>" + placed.rest +
                             "<status code='0'/></pacemaker-result>";
    const PcmkSight sight = PcmkSightOf("crm_mon", Tree(seen));
    const XmlDataTree tree =
        Cib("<resources><group id='g'><primitive id='m'/></group><clone id='p'><primitive id='q'/></clone></resources>"
            "<tags><tag id='tagged'><obj_ref id='x'/><obj_ref id='g'/></tag></tags><constraints>" +
            placed.constraints + "</constraints>");
    const PcmkResource& resource = sight.resources[placed.resource == std::string("g") ? 0 : 1];
    std::string nodes;
    for (const String_t& node : PcmkNodesOf(resource, sight, PcmkCib(tree))) nodes += node.ToUtf8();
    return nodes;
}

std::string Location(const std::string& attributes, const std::string& inside = "") {
    return "<rsc_location id='l' " + attributes + ">" + inside + "</rsc_location>";
}
std::string Rule(const std::string& attributes, const std::string& inside) {
    return "<rule id='r' " + attributes + ">" + inside + "</rule>";
}
std::string Named(const std::string& operation, const std::string& node) {
    return "<expression id='e' attribute='#uname' operation='" + operation + "' value='" + node + "'/>";
}

void ExpectEach(const std::vector<Placed>& rows) {
    for (const Placed& row : rows) EXPECT_EQ(NodesOf(row), row.nodes) << row.constraints << row.rest << row.resource;
}

TEST(PcmkPlacement, AConstraintKeepsAGroupAway) {
    ExpectEach({{"", "abc"},
                {Location("rsc='g' node='b' score='-INFINITY'"), "ac"},
                {Location("rsc='m' node='b' score='-INFINITY'"), "ac"},
                {Location("rsc='other' node='b' score='-INFINITY'"), "abc"},
                {Location("rsc='tagged' node='b' score='-INFINITY'"), "ac"},
                {Location("rsc='g' node='B' score='-INFINITY'"), "ac"},
                {Location("rsc='G' node='b' score='-INFINITY'"), "abc"},
                {Location("rsc='g' node='b' score='-600000'") + Location("rsc='g' node='B' score='-600000'"), "ac"},
                {Location("rsc='g' node='b' score='-600000'") + Location("rsc='g' node='b' score='600000'") +
                     Location("rsc='g' node='b' score='-600000'"),
                 "acb"},
                {Location("rsc='g' node='b' score='-1000000'"), "ac"},
                {Location("rsc='g' node='b' score='-9999999'"), "ac"},
                {Location("rsc='g' node='b' score='-999999'"), "acb"},
                {Location("rsc='g' node='b' score='nothing'"), "abc"},
                {Location("rsc='g' node='b' score='-INFINITY'") + Location("rsc='g' node='b' score='INFINITY'"), "ac"},
                {Location("rsc='g' node='b' score='-INFINITY' role='Started'"), "ac"},
                {Location("rsc='g' node='b' score='-INFINITY' role='Promoted'"), "abc"},
                {Location("rsc='p' node='b' score='-INFINITY' role='Promoted'"), "ac", "p"},
                {Location("rsc='q' node='b' score='-INFINITY' role='Master'"), "ac", "p"},
                {Location("rsc='p' node='b' score='-INFINITY' role='Unpromoted'"), "abc", "p"}});
}

TEST(PcmkPlacement, TheNodeWithTheHighestScoreComesFirst) {
    ExpectEach(
        {{Location("rsc='g' node='c' score='10'") + Location("rsc='g' node='b' score='5'"), "cba"},
         {Location("rsc='g' node='a' score='-5'"), "bca"},
         {Location("rsc='g' node='C' score='4'") + Location("rsc='g' node='c' score='4'") +
              Location("rsc='g' node='b' score='7'"),
          "cba"},
         {Location("rsc='g' node='c' score='INFINITY'") + Location("rsc='g' node='c' score='-5'") +
              Location("rsc='g' node='b' score='INFINITY'"),
          "bca"},
         {Location("rsc='g' node='c' score='INFINITY'") + Location("rsc='m' node='b' score='+INFINITY'"), "bca"}});
}

TEST(PcmkPlacement, SetsAndPatternsAndBansCount) {
    const std::string set = "<resource_set id='s'><resource_ref id='x'/><resource_ref id='g'/></resource_set>";
    const std::string ban = "<bans><ban id='l' resource='m' node='b' weight='";
    ExpectEach(
        {{Location("node='b' score='-INFINITY'", set), "ac"},
         {Location("node='b' score='-INFINITY'", "<resource_set role='Master'><resource_ref id='g'/></resource_set>"),
          "abc"},
         {Location("rsc-pattern='.*' node='b' score='-INFINITY'"), "ac"},
         {Location("rsc-pattern='^(g|h)$' node='B' score='-INFINITY'"), "ac"},
         {Location("rsc-pattern='G' node='b' score='-INFINITY'"), "abc"},
         {Location("rsc-pattern='^m$' node='b' score='-INFINITY'"), "abc"},
         {Location("rsc-pattern='!^g$' node='b' score='-INFINITY'"), "abc"},
         {Location("rsc-pattern='!^g$' node='b' score='-INFINITY'"), "ac", "p"},
         {Location("rsc-pattern='^g$'", Rule("score='-INFINITY'", Named("eq", "B"))), "ac"},
         {Location("rsc-pattern='^h$'", Rule("score='-INFINITY'", Named("eq", "b"))), "abc"},
         {Location("rsc-pattern='g{1}' node='b' score='-INFINITY'"), "abc"},
         {"", "ac", "g", false, "<bans><ban id='l' resource='g' node='B' weight='-1000000'/></bans>"},
         {"", "ac", "g", false, ban + "-1000000'/></bans>"},
         {"", "abc", "g", false, ban + "-10'/></bans>"},
         {"", "abc", "g", false, ban + "-1000000' promoted-only='true'/></bans>"},
         {"", "abc", "g", false, ban + "-1000000' master_only='true'/></bans>"},
         {"", "ac", "p", false, "<bans><ban resource='p' node='b' weight='-1000000' promoted-only='true'/></bans>"},
         {Location("rsc='g' node='b' score='0' resource-discovery='exclusive'"), "b"},
         {Location("rsc='g' node='b' score='0' resource-discovery='never'"), "abc"}});
}

TEST(PcmkPlacement, ARuleThatNamesNodesCounts) {
    const auto rule = [](const std::string& attributes, const std::string& inside) {
        return Location("rsc='g'", Rule(attributes, inside));
    };
    const std::string other = "<expression attribute='site' operation='eq' value='x'/>";
    ExpectEach({{rule("score='-INFINITY'", Named("eq", "b")), "ac"},
                {rule("score='-INFINITY'", Named("eq", "B")), "ac"},
                {rule("score='-INFINITY'", Named("ne", "B")), "b"},
                {rule("score='-INFINITY'", Named("ne", "b")), "b"},
                {rule("score='-INFINITY' boolean-op='or'", Named("eq", "b") + Named("eq", "c")), "a"},
                {rule("score='-INFINITY' boolean-op='and'", Named("ne", "a") + Named("ne", "c")), "ac"},
                {rule("score='-INFINITY'", other), "abc"},
                {rule("score='-INFINITY'", Named("eq", "b") + other), "abc"},
                {rule("score='-INFINITY' boolean-op='or'", other + Named("eq", "b")), "ac"},
                {rule("score='-INFINITY'", Rule("boolean-op='or'", Named("eq", "b") + Named("eq", "a"))), "c"},
                {rule("score='-INFINITY'", Named("gt", "b")), "abc"},
                {rule("score-attribute='x'", Named("eq", "b")), "abc"},
                {Location("rsc='x'", "<rule id='there' score='-INFINITY'>" + Named("eq", "b") + "</rule>") +
                     Location("rsc='g'", "<rule id-ref='there'/>"),
                 "ac"}});
}

TEST(PcmkPlacement, InAnOptInClusterOnlyAScoreLetsAGroupRun) {
    const auto in = [](const std::string& constraints, const char* nodes) {
        return Placed{constraints, nodes, "g", true, ""};
    };
    ExpectEach({in("", ""), in(Location("rsc='g' node='b' score='1'"), "b"),
                in(Location("rsc='m' node='b' score='INFINITY'"), "b"),
                // 0 was taken for none, until Pacemaker was seen to run groups by it.
                in(Location("rsc='g' node='b' score='0'"), "b"),
                in(Location("rsc='g' node='b' score='5'") + Location("rsc='g' node='b' score='-5'"), "b"),
                in(Location("rsc='g' node='b' score='4'") + Location("rsc='g' node='b' score='-5'"), ""),
                in(Location("rsc='g' node='c' score='0'") + Location("rsc='g' node='b' score='200'"), "bc"),
                in(Location("rsc='g'", Rule("score='0'", Named("ne", "b"))), "ac"),
                in(Location("rsc='g'", Rule("", Named("ne", "b"))), "ac"),
                in(Location("rsc='g'", Rule("score='0'", "<expression attribute='x'/>")), "abc"),
                in(Location("rsc-pattern='g{1}' node='b' score='0'"), "b"),
                in(Location("rsc-pattern='g{1}'", Rule("score='0'", Named("ne", "b"))), "ac"),
                in(Location("rsc='g' node='b' score='5'") + Location("rsc='g' node='b' score='-INFINITY'"), ""),
                in(Location("rsc='g'", Rule("score='7'", Named("ne", "b"))), "ac"),
                in(Location("rsc='g'", Rule("score='7'", "<expression attribute='x'/>")), "abc"),
                in(Location("rsc='g'", Rule("score='-7'", "<expression attribute='x'/>")), ""),
                in(Location("rsc-pattern='g.*' node='b' score='7'"), "b"),
                in(Location("rsc-pattern='g.*' node='b' score='-7'"), ""),
                in(Location("rsc-pattern='^h' node='b' score='7'"), ""),
                in(Location("rsc-pattern='^m$' node='b' score='7'"), ""),
                in(Location("rsc-pattern='!^h' node='B' score='7'"), "b"),
                in(Location("rsc-pattern='(' node='B' score='7'"), "b"),
                in(Location("rsc-pattern='g{1}' node='b' score='7'"), "b"),
                in(Location("rsc-pattern='g{1}'", Rule("score='7'", Named("ne", "b"))), "ac"),
                in(Location("rsc-pattern='g{1}'", Rule("score='-7'", Named("ne", "b"))), ""),
                in(Location("rsc-pattern='^g'", Rule("score='7'", Named("ne", "b"))), "ac"),
                in(Location("rsc='g' node='B' score='-5'") + Location("rsc='g' node='b' score='9'"), "b")});
}

}  // namespace
