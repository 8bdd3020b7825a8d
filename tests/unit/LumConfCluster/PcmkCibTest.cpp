#include "adapters/PcmkCib.h"

#include <gtest/gtest.h>

#include <string>

#include "PcmkNode.h"

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

/// What crm_resource -g tells of each.
TEST(PcmkCib, AnAddressThatAMemberDoesNotSayIsItsGroups) {
    const auto ip = [](const char* last, const std::string& id) {
        return Attributes(Pair("ip", std::string("10.0.0.") + last, id + "-ip"), id);
    };
    const std::string made = "<template id='t' type='IPaddr2'>" + ip("3", "of-t") + "</template>";
    const std::string ruled = Attributes("<rule/>" + Pair("ip", "10.0.0.6", "r-ip"), "r");
    struct Case {
        std::string resources;
        const char* address;
    };
    for (const Case& row :
         {Case{"<group id='g'>" + ip("9", "s") + Ip("", "a") + "</group>", "10.0.0.9"},
          Case{"<group id='g'>" + Ip("", "a") + ip("9", "s") + "</group>", "10.0.0.9"},
          Case{"<group id='g'>" + ip("9", "s") + Ip(ip("1", "own"), "a") + "</group>", "10.0.0.1"},
          Case{"<group id='g'>" + ip("9", "s") + Ip("", "a", "Dummy") + "</group>", ""},
          Case{"<clone id='g'>" + ip("8", "s") + "<group id='h'>" + Ip("", "a") + "</group></clone>", "10.0.0.8"},
          Case{"<clone id='g'>" + ip("8", "s") + "<group id='h'>" + ip("9", "u") + Ip("", "a") + "</group></clone>",
               "10.0.0.9"},
          Case{made + "<group id='g'>" + ip("9", "s") + "<primitive id='a' template='t'/></group>", "10.0.0.3"},
          Case{"<group id='g'>" + ip("9", "s") + Ip(ruled, "a") + "</group>", "10.0.0.9"},
          Case{"<group id='g'>" + ip("9", "s") + Ip(Attributes(Pair("ip", "")), "a") + "</group>", ""}}) {
        EXPECT_EQ(AddressIn(row.resources), row.address) << row.resources;
    }
}

TEST(PcmkCib, TheSetWithTheHighestScoreTellsTheAddress) {
    const auto ip = [](int last, const std::string& score) {
        const std::string id = "s" + std::to_string(last);
        return "<instance_attributes id='" + id + "' " + score + ">" +
               Pair("ip", "10.0.0." + std::to_string(last), id + "-ip") + "</instance_attributes>";
    };
    const std::string made = "<template id='t' type='IPaddr2'>" + ip(3, "score='10'") + "</template>";
    struct Case {
        std::string resources;
        const char* address;
    };
    for (const Case& row :
         {Case{Ip(ip(1, "score='1'") + ip(2, "score='10'")), "10.0.0.2"},
          Case{Ip(ip(1, "score='10'") + ip(2, "score='1'")), "10.0.0.1"},
          Case{Ip(ip(1, "score='1'") + ip(2, "score='1'")), "10.0.0.2"}, Case{Ip(ip(1, "") + ip(2, "")), "10.0.0.2"},
          Case{Ip(ip(1, "") + ip(2, "score='-5'")), "10.0.0.1"},
          Case{Ip(ip(1, "score='INFINITY'") + ip(2, "score='5'")), "10.0.0.1"},
          Case{Ip(ip(1, "score='-INFINITY'") + ip(2, "score='-5'")), "10.0.0.2"},
          Case{Ip(Attributes(Pair("ip", "10.0.0.1", "p") + Pair("ip", "10.0.0.2", "q"))), "10.0.0.1"},
          Case{made + "<primitive id='g' template='t'>" + ip(1, "score='1'") + "</primitive>", "10.0.0.3"},
          Case{made + "<primitive id='g' template='t'>" + ip(1, "score='10'") + "</primitive>", "10.0.0.1"},
          Case{"<group id='g'>" + ip(9, "score='10'") + Ip(ip(1, "score='1'"), "a") + "</group>", "10.0.0.1"},
          Case{Ip(ip(5, "score='1'"), "x") + Ip(ip(1, "score='5'") + "<instance_attributes id-ref='s5'/>"),
               "10.0.0.1"}}) {
        EXPECT_EQ(AddressIn(row.resources), row.address) << row.resources;
    }
}

/// It is told to be promoted on the container's node, to which no connection is any more.
TEST(PcmkCib, TheAddressOfAPromotedReplicaThatNobodyReachesIsTheFirst) {
    const PcmkSight sight = PcmkSightOf(
        "crm_mon", Tree("<pacemaker-result><summary/><nodes/><resources><bundle id='one'><replica id='0'>" +
                        PcmkResourceText("one-ip-10.0.0.5", "Started", "a") +
                        PcmkResourceText("inner", "Promoted", "one-0", "failed='true'") +
                        "<resource id='one-0' resource_agent='ocf:pacemaker:remote' role='Stopped'/></replica>"
                        "</bundle></resources><status code='0'/></pacemaker-result>"));
    const XmlDataTree tree =
        Cib("<resources><bundle id='one'><podman promoted-max='1'/><network ip-range-start='10.0.0.4'/>"
            "<primitive id='inner'/></bundle></resources>");
    const PcmkResource bundle = sight.resources.at(0);  // a copy keeps nothing of what was there
    EXPECT_EQ(PcmkCib(tree).AddressOf(bundle, "a"), "10.0.0.4");
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

}  // namespace
