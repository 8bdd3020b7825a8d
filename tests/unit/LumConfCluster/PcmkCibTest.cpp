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
