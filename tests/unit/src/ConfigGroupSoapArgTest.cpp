#include "ConfigGroupSoapArg.h"

#include <gtest/gtest.h>

#include "Groups.h"
#include "SoapText.h"

namespace LumConf {
namespace {

using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using LumVoxSoap::SOAPFormatException;

String_t Utf8(const std::string& text) {
    return String_t::FromUtf8(text);
}

std::string WrittenGroup(const ConfigGroup_t& group) {
    ConfigGroupSoapArg argument("g");
    argument.SetGroup(group);
    return Written(argument);
}

/// What an argument makes of the text between its tags.
std::string ReadBack(const std::string& inside) {
    ConfigGroupSoapArg argument("g");
    ReadArgument(argument, inside);
    return Shown(argument.GetGroup());
}

std::string Element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + text + "</" + name + ">";
}
std::string Attribute(const std::string& name, const std::string& value) {
    return Element("attrname", name) + Element("attrvalue", value);
}

TEST(ConfigGroupSoapArg, AnEmptyGroupIsWrittenAsNothing) {
    EXPECT_EQ(WrittenGroup(ConfigGroup_t()), "");
    EXPECT_EQ(ReadBack(""), "");
}

TEST(ConfigGroupSoapArg, NamespacesAndTheirAttributesStandSideBySideInOrder) {
    const ConfigGroup_t group;
    group.GetConfig("b").SetAttrValue("Y", "2");
    group.GetConfig("b").SetAttrValue("X", "1");
    group.GetConfig("a");
    group.GetConfig("c").SetAttrValue("Z", "");
    EXPECT_EQ(WrittenGroup(group),
              "<ns>a</ns><ns>b</ns><attrname>X</attrname><attrvalue>1</attrvalue><attrname>Y</attrname>"
              "<attrvalue>2</attrvalue><ns>c</ns><attrname>Z</attrname><attrvalue></attrvalue>");
}

TEST(ConfigGroupSoapArg, ANamespaceWithoutAttributesIsALoneElementAndArrives) {
    const ConfigGroup_t group;
    group.GetConfig("conf.server");
    EXPECT_EQ(WrittenGroup(group), "<ns>conf.server</ns>");
    EXPECT_EQ(ReadBack("<ns>conf.server</ns>"), "[conf.server]");
}

TEST(ConfigGroupSoapArg, AnAttributeBelongsToTheNamespaceBeforeIt) {
    EXPECT_EQ(ReadBack(Element("ns", "b") + Attribute("X", "1") + Attribute("Y", "2") + Element("ns", "a") +
                       Attribute("X", "3")),
              "[a]X=3;[b]X=1;Y=2;");
}

TEST(ConfigGroupSoapArg, ANamespaceThatComesAgainGoesOnAndItsLastValueCounts) {
    EXPECT_EQ(ReadBack(Element("ns", "a") + Attribute("X", "1") + Element("ns", "b") + Element("ns", "a") +
                       Attribute("Y", "2") + Attribute("X", "3")),
              "[a]X=3;Y=2;[b]");
}

TEST(ConfigGroupSoapArg, TextBetweenTheElementsDoesNotCount) {
    EXPECT_EQ(ReadBack("\n  <ns>a</ns> words\n  <attrname>X</attrname>\n\t<attrvalue>1</attrvalue>\n"), "[a]X=1;");
}

TEST(ConfigGroupSoapArg, PrefixesCommentsAndSectionsDoNotMatter) {
    EXPECT_EQ(ReadBack("<p:ns xmlns:p='urn:p'>a<!-- no -->b</p:ns><attrname><![CDATA[<X>]]></attrname>"
                       "<attrvalue>1<![CDATA[&]]>2</attrvalue>"),
              "[ab]<X>=1&2;");
}

TEST(ConfigGroupSoapArg, BlanksAroundATextAreOfTheText) {
    EXPECT_EQ(ReadBack(Element("ns", " a ") + Attribute(" X ", "\t1\n ")), "[ a ] X =\t1\n ;");
}

TEST(ConfigGroupSoapArg, AnAttributeWithoutANameOrValueIsTakenAsItComes) {
    EXPECT_EQ(ReadBack(Element("ns", "") + Attribute("", "1") + Attribute("X", "")), "[]=1;X=;");
}

const char* const kTexts[] = {
    "",
    " ",
    "  leading and trailing  ",
    "a\rb",
    "a\nb",
    "a\r\nb",
    "\r\n",
    "\ttab\t",
    "a=b",
    "[section]",
    "#comment",
    ";comment",
    "back\\slash\\n",
    "\\u0041",
    "<&>\"'",
    "]]>",
    "<!-- x -->",
    "&amp;&#65;",
    "%1 %2 %",
    "\xC3\xA4\xC3\x96\xE2\x82\xAC",
    "\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBD",
    "\x7F\xC2\x80\xC2\x85\xC2\x9F\xC2\xA0",
    "\xE2\x80\xA8\xE2\x80\xA9\xEF\xBB\xBF",
    "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD",
    "DELETE_THIS_ATTRIBUTE",
};

TEST(ConfigGroupSoapArg, EveryCharacterThatXmlCarriesSurvivesTheWay) {
    const ConfigGroup_t group;
    for (const char* text : kTexts) group.GetConfig(Utf8(text)).SetAttrValue(Utf8(text), Utf8(text));
    ASSERT_EQ(group.GetConfigCount(), static_cast<int>(std::size(kTexts)));
    EXPECT_EQ(ReadBack(WrittenGroup(group)), Shown(group));
}

TEST(ConfigGroupSoapArg, EveryUnitOfTheBasicPlaneThatXmlCarriesSurvivesTheWay) {
    const ConfigGroup_t group;
    Configuration_t configuration = group.GetConfig("a");
    int carried = 0;
    for (unsigned unit = 1; unit <= 0xFFFD; ++unit) {
        if (unit >= 0xD800 && unit <= 0xDFFF) continue;
        if (unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r') continue;
        configuration.SetAttrValue(LumPalStr::NumToStr(static_cast<int>(unit)), String_t(static_cast<char16_t>(unit)));
        ++carried;
    }
    EXPECT_EQ(configuration.GetAttrCount(), carried);
    EXPECT_EQ(ReadBack(WrittenGroup(group)), Shown(group));
}

TEST(ConfigGroupSoapArg, WhatXmlCannotCarryIsNotSent) {
    const char16_t units[] = {u'\0', u'\x01', u'\x08', u'\x0B', u'\x1F', u'\xD800', u'\xDFFF', u'\xFFFE', u'\xFFFF'};
    for (const char16_t unit : units) {
        const String_t text = String_t(u"a") + String_t(&unit, 1) + "b";
        const ConfigGroup_t asNamespace, asName, asValue;
        asNamespace.GetConfig(text);
        asName.GetConfig("a").SetAttrValue(text, "1");
        asValue.GetConfig("a").SetAttrValue("X", text);
        for (const ConfigGroup_t& group : {asNamespace, asName, asValue}) {
            EXPECT_THROW(WrittenGroup(group), LumPalMsg::IllegalArgumentError_t) << static_cast<unsigned>(unit);
        }
    }
}

struct RefusedRow {
    const char* what;
    std::string inside;
};

const RefusedRow kRefused[] = {
    {"an unknown element", "<more/>"},
    {"an unknown element behind good ones", Element("ns", "a") + Attribute("X", "1") + "<more>2</more>"},
    {"the argument's own name once more", "<g/>"},
    {"names in other letters", "<NS>a</NS>"},
    {"a name in other letters", Element("ns", "a") + "<attrName>X</attrName>"},
    {"an element in a namespace", "<ns>a<b/></ns>"},
    {"a name in a namespace", "<ns>a" + Attribute("X", "1") + "</ns>"},
    {"a namespace in a namespace", "<ns>a<ns>b</ns></ns>"},
    {"a value in a name", Element("ns", "a") + "<attrname>X<attrvalue>1</attrvalue></attrname>"},
    {"an element in a value", Element("ns", "a") + "<attrname>X</attrname><attrvalue>1<b/></attrvalue>"},
    {"an attribute before the first namespace", Attribute("X", "1") + Element("ns", "a")},
    {"an attribute and no namespace", Attribute("X", "1")},
    {"a name before the first namespace", Element("attrname", "X") + Element("ns", "a")},
    {"a value before the first namespace", Element("attrvalue", "1") + Element("ns", "a")},
    {"a value without a name", Element("ns", "a") + Element("attrvalue", "1")},
    {"two values for a name", Element("ns", "a") + Attribute("X", "1") + Element("attrvalue", "2")},
    {"a name without a value at the end", Element("ns", "a") + Element("attrname", "X")},
    {"a name without a value before a namespace",
     Element("ns", "a") + Element("attrname", "X") + Element("ns", "b") + Element("attrvalue", "1")},
    {"two names for a value", Element("ns", "a") + Element("attrname", "X") + Attribute("Y", "1")},
    {"an element that is not closed", "<ns>a"},
    {"a reference to nothing", "<ns>&nothing;</ns>"},
};

TEST(ConfigGroupSoapArg, WhatHasNoPlaceIsRefused) {
    for (const RefusedRow& row : kRefused) {
        ConfigGroupSoapArg argument("g");
        EXPECT_THROW(ReadArgument(argument, row.inside), LumPalMsg::RuntimeException_t) << row.what;
    }
}

TEST(ConfigGroupSoapArg, AnUnknownElementInsideIsARefusalThatNamesIt) {
    ConfigGroupSoapArg argument("g");
    try {
        ReadArgument(argument, Element("ns", "a") + "<attribute>X</attribute>");
        ADD_FAILURE() << "nothing was raised";
    } catch (const SOAPFormatException& e) {
        EXPECT_NE(std::string(e.what()).find("attribute"), std::string::npos) << e.what();
    }
}

TEST(ConfigGroupSoapArg, OnlyItsOwnNameOpensIt) {
    ConfigGroupSoapArg argument("ConfigGroupName");
    EXPECT_EQ(argument.StartElement("", "ns", ""), nullptr);
    EXPECT_EQ(argument.StartElement("", "configgroupname", ""), nullptr);
    EXPECT_FALSE(argument.HasArrived());
    EXPECT_EQ(argument.StartElement("", "ConfigGroupName", ""), &argument);
    EXPECT_EQ(argument.StartElement("", "ns", ""), &argument);
    EXPECT_EQ(argument.StartElement("", "ns", ""), nullptr);
    EXPECT_TRUE(argument.HasArrived());
}

TEST(ConfigGroupSoapArg, AnArgumentThatComesTwiceIsRefused) {
    ConfigGroupSoapArg argument("g");
    EXPECT_THROW(ReadMessage(argument, "<g><ns>a</ns></g><g><ns>b</ns></g>"), SOAPFormatException);
}

TEST(ConfigGroupSoapArg, ThousandNamespacesOfAHundredAttributesSurviveTheWay) {
    const ConfigGroup_t group;
    for (int i = 0; i < 1000; ++i) {
        Configuration_t configuration = group.GetConfig("namespace." + LumPalStr::NumToStr(i));
        for (int j = 0; j < 100; ++j) configuration.SetAttrValue("NAME_" + LumPalStr::NumToStr(j), "value");
    }
    ConfigGroupSoapArg argument("g");
    ReadArgument(argument, WrittenGroup(group));
    EXPECT_EQ(argument.GetGroup().GetConfigCount(), 1000);
    EXPECT_EQ(Shown(argument.GetGroup()), Shown(group));
}

TEST(ConfigGroupSoapArg, MoreNamespacesThanAreReadAreRefusedAndTheLastOnesAreNot) {
    constexpr int kMost = 100;
    std::string all;
    for (int i = 0; i < kMost; ++i) all += Element("ns", std::to_string(i));
    ConfigGroupSoapArg most("g", kMost), again("g", kMost), more("g", kMost);
    ReadArgument(most, all);
    EXPECT_EQ(most.GetGroup().GetConfigCount(), kMost);
    EXPECT_NO_THROW(ReadArgument(again, all + Element("ns", "0") + Attribute("X", "1")));
    EXPECT_THROW(ReadArgument(more, all + Element("ns", "one more")), SOAPFormatException);
}

TEST(ConfigGroupSoapArg, AnArgumentSharesTheGroupThatItIsGiven) {
    const ConfigGroup_t group;
    ConfigGroupSoapArg argument("g");
    argument.SetGroup(group);
    group.GetConfig("later");
    EXPECT_EQ(Written(argument), "<ns>later</ns>");
}

}  // namespace
}  // namespace LumConf
