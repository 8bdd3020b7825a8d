#include "adapters/PcmkPlacement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "PcmkNode.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;

XmlDataTree Tree(const std::string& text) {
    return PcmkTree("cibadmin", {String_t::FromUtf8(text)});
}

/// The nodes a, b and c; the group g of m, the promotable clone p of q, the group h of n and o, or s. The last two are
/// of the template t.
struct Placed {
    std::string constraints;
    const char* nodes;
    const char* resource = "g";
    bool isOptIn = false;
    std::string rest = "";
};

/// a is in Paris until it starts again, in Lyon from then on; b in Rome, or in Oslo; c has a guest, and is hot.
constexpr const char* kAttributes =
    "<nodes><node id='1' uname='a'><instance_attributes id='i1'><nvpair id='p1' name='site' value='lyon'/>"
    "<nvpair id='p2' name='weight' value='7'/></instance_attributes></node><node id='2' uname='B'>"
    "<instance_attributes id='i2'><nvpair id='p3' name='site' value='rome'/><nvpair id='p4' name='twice' value='x'/>"
    "</instance_attributes><instance_attributes id='i3'><nvpair id='p5' name='twice' value='y'/>"
    "<nvpair id='p6' name='weight' value='INFINITY'/></instance_attributes></node>"
    "<node id='3' uname='c'><instance_attributes id='i4'><rule id='r4'/><nvpair id='p7' name='at-times' value='x'/>"
    "</instance_attributes></node></nodes></configuration><status><node_state id='1' uname='a'><transient_attributes>"
    "<instance_attributes id='i5'><nvpair id='p8' name='site' value='paris'/></instance_attributes>"
    "</transient_attributes></node_state><node_state id='3' uname='c'><transient_attributes><instance_attributes "
    "id='i6'>"
    "<nvpair id='p9' name='hot' value='yes'/></instance_attributes></transient_attributes></node_state></status>";

std::string NodesOf(const Placed& placed) {
    const std::string seen =
        std::string("<pacemaker-result><summary><cluster_options symmetric-cluster='") +
        (placed.isOptIn ? "false" : "true") + "'/></summary><nodes>" + ::PcmkNode::Node("a", "1", "online='true'") +
        ::PcmkNode::Node("b", "2", "online='true'") + ::PcmkNode::Node("c", "3", "online='false'") +
        "</nodes><resources>" + "<group id='g'>" + PcmkResourceText("m", "Stopped") +
        "</group><clone id='p' multi_state='true'>" + PcmkResourceText("q", "Stopped") + "</clone><group id='h'>" +
        PcmkResourceText("n", "Stopped") + PcmkResourceText("o", "Stopped") + "</group>" +
        PcmkResourceText("s", "Stopped") + "</resources>" + placed.rest + "<status code='0'/></pacemaker-result>";
    const PcmkSight sight = PcmkSightOf("crm_mon", Tree(seen));
    const XmlDataTree tree = Tree(
        "<cib><configuration><resources><group id='g'><primitive id='m'/></group><clone id='p'><primitive id='q'/>"
        "</clone><group id='h'><primitive id='n'/><primitive id='o' template='t'/></group>"
        "<primitive id='s' template='t'/><template id='t'/></resources>"
        "<tags><tag id='tagged'><obj_ref id='x'/><obj_ref id='g'/></tag><tag id='tagged-t'><obj_ref id='t'/></tag>"
        "</tags><constraints>" +
        placed.constraints + "</constraints>" + kAttributes + "</cib>");
    const auto resource = std::find_if(sight.resources.begin(), sight.resources.end(), [&](const PcmkResource& one) {
        return one.name == String_t::FromUtf8(placed.resource);
    });
    std::string nodes;
    for (const String_t& node : PcmkNodesOf(*resource, sight, PcmkCib(tree))) nodes += node.ToUtf8();
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
                {Location("rsc='p' node='b' score='-INFINITY' role='Stopped'"), "abc", "p"},
                // The role of the others was taken to be nobody's here: Pacemaker takes it for that of every copy.
                {Location("rsc='p' node='b' score='-INFINITY' role='Unpromoted'"), "ac", "p"},
                {Location("rsc='p' node='b' score='-INFINITY' role='Slave'"), "ac", "p"},
                {Location("rsc='g' node='b' score='-INFINITY' role='Slave'"), "ac"},
                {Location("rsc='q' node='b' score='-INFINITY' role='Master'"), "ac", "p"},
                {Location("rsc='q' node='b' score='-INFINITY'"), "ac", "p"}});
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
                // This was left to the ban that Pacemaker tells: a node without the attribute has -INFINITY.
                {rule("score-attribute='x'", Named("eq", "b")), "ac"},
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

TEST(PcmkPlacement, TheRoleOfARuleIsItsOwnAndThatOfASetToo) {
    const std::string rule = "score='5'", named = Named("eq", "a"), unpromoted = " role='Unpromoted'";
    const auto set = [](const std::string& attributes) {
        return "<resource_set " + attributes + "><resource_ref id='p'/></resource_set>";
    };
    const auto in = [](const std::string& constraints, const char* nodes) {
        return Placed{constraints, nodes, "p", true};
    };
    ExpectEach(
        {in(Location("rsc='p' node='a' score='100' role='Slave'") +
                Location("rsc='p' node='b' score='200' role='Unpromoted'"),
            "ba"),
         in(Location("rsc='p' node='a' score='100' role='Promoted'"), ""),
         in(Location("rsc='p' node='a' score='100' role='Promoted'") + Location("rsc='p' node='a' score='0'") +
                Location("rsc='p' node='b' score='99'"),
            "ab"),
         in(Location("rsc='p' node='a' score='-5'") + Location("rsc='p' node='a' score='9' role='Master'"), ""),
         in(Location("rsc='p' node='a' score='5'") + Location("rsc='p' node='a' score='-INFINITY' role='Master'"), ""),
         in(Location("rsc='q' node='a' score='5'"), "a"),
         in(Location("rsc='p' role='Promoted'", Rule(rule, named)), "a"),
         in(Location("rsc='p' role='Promoted'", Rule(rule + unpromoted, named)), "a"),
         in(Location("rsc='p' role='Slave'", Rule(rule + " role='Promoted'", named)), ""),
         in(Location("rsc='p'", Rule(rule + " role='Started'", named)), ""),
         in(Location("rsc='p' role='Started'", Rule(rule, named)), "a"),
         in(Location("node='a' score='5'", set("role='Promoted'")), ""),
         in(Location("node='a' score='5'", set("role='Slave'")), "a"),
         in(Location("node='a' score='5'", set("score='-7'")), ""),
         in(Location("node='a' score='-5'", set("score='7'")), "a"),
         in(Location("", set("role='Promoted'") + Rule(rule, named)), "a")});
}

TEST(PcmkPlacement, ATemplateMeansWhatIsMadeOfIt) {
    ExpectEach({{Location("rsc='t' node='b' score='100'"), "b", "s", true},
                {Location("rsc='t' node='b' score='100'"), "bac", "s"},
                {Location("rsc='t' node='b' score='-INFINITY'"), "ac", "h"},
                {Location("rsc='t' node='b' score='-INFINITY'"), "abc", "g"},
                {Location("node='b' score='1'", "<resource_set><resource_ref id='t'/></resource_set>"), "b", "s", true},
                {Location("rsc='tagged-t' node='b' score='100'"), "", "s", true},
                {Location("rsc='' node='b' score='-INFINITY'"), "abc", "g"}});
}

TEST(PcmkPlacement, WhatIsSaidOfOneMemberLetsNoGroupIn) {
    const auto in = [](const std::string& constraints, const char* nodes) {
        return Placed{constraints, nodes, "h", true};
    };
    const std::string n = Location("rsc='n' node='b' score='100'"), o = Location("rsc='o' node='b' score='100'");
    ExpectEach({in(n, ""), in(o, ""), in(n + o, "b"), in(Location("rsc='h' node='b' score='0'"), "b"),
                in(Location("rsc='h' node='a' score='0'") + o, "a"),
                in(Location("rsc='h' node='a' score='0'") + n + o, "ba"),
                in(Location("rsc='h' node='b' score='5'") + Location("rsc='o' node='b' score='-5'"), "b"),
                in(Location("rsc='h' node='b' score='5'") + Location("rsc='o' node='b' score='-6'"), ""), in("", "")});
}

TEST(PcmkPlacement, ALifetimeMayBeOver) {
    const std::string over =
        "<lifetime><rule id='r' score='0'><date_expression id='d' operation='lt' end='2020-01-01'/></rule></lifetime>";
    const std::string ban = "<bans><ban id='l' resource='g' node='a' weight='-1000000'/></bans>";
    ExpectEach({{Location("rsc='g' node='a' score='-INFINITY'", over), "abc"},
                {Location("rsc='g' node='a' score='-INFINITY'", over), "bc", "g", false, ban},
                {Location("rsc='g' node='b' score='INFINITY'", over) + Location("rsc='g' node='c' score='1'"), "cab"},
                {Location("rsc='g' node='a' score='INFINITY'", over), "a", "g", true},
                {Location("rsc='g' node='a' score='-1'", over), "", "g", true},
                {Location("rsc='g' node='a' score='5' resource-discovery='exclusive'", over), "abc"}});
}

TEST(PcmkPlacement, WhereAloneAGroupMayBeARuleMaySayToo) {
    const std::string alone = " resource-discovery='exclusive' ", here = "score='1'";
    const auto rule = [&](const std::string& inside) { return Location("rsc='g'" + alone, Rule(here, inside)); };
    const std::string number = "<expression attribute='weight' operation='lt' value='9'/>";
    ExpectEach({{rule(Named("eq", "a")), "a"},
                {rule(Named("eq", "nobody")), ""},
                {rule(Named("eq", "a")) + Location("rsc='g' node='b' score='5'" + alone), "ba"},
                {rule(Named("eq", "a")) + Location("rsc='g' node='b' score='5'"), "a"},
                {rule(number), "ab"},
                {Location("rsc='g' node='a' score='-100'" + alone), "a"},
                {Location("rsc='m' node='a' score='100'" + alone), "abc"},
                {Location("rsc='p' node='a' score='100' role='Promoted'" + alone), "", "p"},
                {Location("rsc='q' node='a' score='100'" + alone), "a", "p"},
                {Location("node='a' score='1'" + alone, "<resource_set><resource_ref id='g'/></resource_set>"), "a"}});
}

TEST(PcmkPlacement, ARuleMayAskForAttributesOfNodes) {
    const auto in = [](const std::string& inside, const char* nodes, const std::string& attributes = "score='5'") {
        return Placed{Location("rsc='g'", Rule(attributes, inside)), nodes, "g", true,
                      "<nodes><node name='far' id='far' online='true' type='remote'/></nodes>"};
    };
    const auto asked = [](const std::string& attribute, const std::string& operation, const std::string& value = "",
                          const std::string& more = "") {
        return "<expression attribute='" + attribute + "' operation='" + operation + "' value='" + value + "' " + more +
               "/>";
    };
    ExpectEach({in(asked("site", "eq", "paris"), "a"),
                in(asked("site", "eq", "lyon"), ""),
                in(asked("site", "eq", "ROME"), "b"),
                in(asked("Site", "eq", "rome"), ""),
                in(asked("site", "ne", "rome"), "acfar"),
                in(asked("site", "defined"), "ab"),
                in(asked("site", "not_defined"), "cfar"),
                in(asked("hot", "eq", "yes"), "c"),
                in(asked("twice", "eq", "x"), "b"),
                in(asked("twice", "defined"), "b"),
                in(asked("at-times", "eq", "y"), "c"),
                in(asked("#id", "eq", "2"), "bfar"),
                in(asked("#kind", "ne", "remote"), "abc"),
                in(asked("#kind", "eq", "remote"), "far"),
                in(asked("#is_dc", "eq", "true"), "abcfar"),
                in(asked("#uname", "defined"), "abcfar"),
                in(asked("weight", "lt", "9"), "ab"),
                in(asked("site", "eq", "x", "type='number'"), "ab"),
                in(asked("site", "eq", "x", "value-source='param'"), "ab"),
                in(asked("site", "eq", "rome", "type='string' value-source='literal'"), "b"),
                in("<date_expression operation='lt' end='2020-01-01'/>", "abcfar"),
                in("<date_expression operation='lt' end='2020-01-01'/>" + asked("site", "defined"), "ab"),
                in(asked("site", "eq", "rome") + asked("hot", "defined"), "bc", "score='5' boolean-op='or'"),
                in(asked("site", "defined"), "ba", "score-attribute='weight'"),
                in(asked("twice", "defined"), "b", "score-attribute='twice'"),
                in(asked("hot", "defined"), "", "score-attribute='weight'")});
}

/// Whatever a constraint says of it. The nodes are told in that order.
TEST(PcmkPlacement, NothingThatIsANodeOrLeadsToOneRunsOnARemoteNode) {
    const auto connection = [](const std::string& id) {
        return "<resource id='" + id + "' resource_agent='ocf:pacemaker:remote' role='Started'/>";
    };
    const std::string bundle = "<replica id='0'>" + PcmkResourceText("in", "Stopped");
    const PcmkSight sight = PcmkSightOf(
        "crm_mon",
        Tree("<pacemaker-result><summary/><nodes>" + ::PcmkNode::Node("a", "1", "online='true'") +
             ::PcmkNode::Node("r", "r", "online='true' type='remote'") +
             ::PcmkNode::Node("g", "g", "online='true' type='remote' id_as_resource='vm'") +
             ::PcmkNode::Node("box-0", "box-0", "online='true' type='remote' id_as_resource='box-podman-0'") +
             "</nodes><resources>" + PcmkResourceText("vm", "Stopped") + connection("r") + "<bundle id='box'>" +
             bundle + connection("box-0") + "</replica></bundle><bundle id='plain'>" + bundle + "</replica></bundle>" +
             PcmkResourceText("job", "Stopped") + "</resources><status code='0'/></pacemaker-result>"));
    const XmlDataTree tree =
        Tree("<cib><configuration><resources><primitive id='vm'/><primitive id='r'/></resources><constraints>" +
             Location("rsc='vm' node='r' score='50'") + Location("rsc='box' node='r' score='50'") +
             Location("rsc='job' node='r' score='50'") + "</constraints></configuration></cib>");
    EXPECT_TRUE(sight.bans.empty()) << "there would be one for each two of them";
    std::string told;
    for (const PcmkResource& resource : sight.resources) {
        told += " " + resource.name.ToUtf8() + ":";
        for (const String_t& node : PcmkNodesOf(resource, sight, PcmkCib(tree))) told += node.ToUtf8();
    }
    EXPECT_EQ(told, " vm:a r:a box:a plain:arg job:rag");
}

TEST(PcmkPlacement, ABanThatTheConfigurationRefutesIsNone) {
    const std::string ban = "<bans><ban id='r' resource='g' node='c' weight='-1000000'/></bans>";
    const auto in = [&](const std::string& inside, const char* nodes) {
        return Placed{Location("rsc='g'", Rule("score='100'", inside)), nodes, "g", true, ban};
    };
    ExpectEach({in(Named("ne", "b"), "ac"), in(Named("ne", "c"), "ab"),
                in(Named("eq", "c") + "<date_expression operation='lt' end='2020-01-01'/>", "")});
}

}  // namespace
