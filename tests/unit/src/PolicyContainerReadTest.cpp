// Reading the argument that carries a container of policies.
#include "PolicyContainerSoapArg.h"

#include <gtest/gtest.h>

#include <optional>

#include "ContainerArgument.h"
#include "Exceptions.h"
#include "PolicyAttribute.h"
#include "PolicyHeader.h"
#include "Raised.h"
#include "SoapText.h"

namespace LumConf {
namespace {

using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

struct FieldRow {
    const char* element;
    const char* text;
    String_t (PolicyHeader::*get)() const;
    const char* read;
};

const FieldRow kFields[] = {
    {"policy_container_id", "P-\xC3\x84", &PolicyHeader::GetContainerId, "p-\xC3\xA4"},
    {"policy_name", " Name ", &PolicyHeader::GetName, " Name "},
    {"policy_version", "1.02", &PolicyHeader::GetVersion, "1.02"},
    {"policy_description", "a&lt;b\n\xF0\x9F\x94\x92", &PolicyHeader::GetDescription, "a<b\n\xF0\x9F\x94\x92"},
    {"policy_owner", "Owner", &PolicyHeader::GetOwner, "Owner"},
    {"policy_type_name", "Type", &PolicyHeader::GetTypeName, "type"},
    {"policy_type_version", "2", &PolicyHeader::GetTypeVersion, "2"},
    {"policy_type_id", "T-1", &PolicyHeader::GetTypeId, "t-1"},
};

TEST(PolicyContainerRead, EachElementIsReadIntoItsOwnField) {
    for (const FieldRow& sent : kFields) {
        const std::string text = std::string("<") + sent.element + ">" + sent.text + "</" + sent.element + ">";
        const PolicyContainer list =
            Read("<policyheader><policy_container_id>p1</policy_container_id>" + text + "</policyheader>");
        ASSERT_EQ(list.GetCount(), 1);
        const PolicyHeader header = list.GetPolicyHeader(0);
        for (const FieldRow& row : kFields) {
            const bool isId = row.element == kFields[0].element;
            const char* const expected = row.element == sent.element ? row.read : isId ? "p1" : "";
            EXPECT_EQ((header.*row.get)(), String_t::FromUtf8(expected)) << row.element << " after " << sent.element;
        }
        EXPECT_TRUE(header.IsEnabled());
    }
}

TEST(PolicyContainerRead, TheStatusIsTheTextAsItComes) {
    EXPECT_TRUE(ReadHeader("<policy_status>enabled</policy_status>").IsEnabled());
    EXPECT_TRUE(ReadHeader("<policy_status>disabled</policy_status>").IsDisabled());
    for (const char* text : {"", "DISABLED", " disabled", "1"}) {
        const PolicyHeader header = ReadHeader("<policy_status>" + std::string(text) + "</policy_status>");
        EXPECT_FALSE(header.IsEnabled() || header.IsDisabled()) << text;
    }
}

TEST(PolicyContainerRead, TheIdMustComeFirst) {
    // The id makes the header: what stands before it has nowhere to go, and a second id makes another header.
    const PolicyContainer late = Read(
        "<policyheader><policy_name>lost</policy_name><policy_categories><policy_category>lost</policy_category>"
        "</policy_categories><policy_attribute><policy_attributename>lost</policy_attributename>"
        "<policy_attributevalue>lost</policy_attributevalue></policy_attribute>"
        "<policy_container_id>p1</policy_container_id><policy_owner>kept</policy_owner></policyheader>");
    ASSERT_EQ(late.GetCount(), 1);
    EXPECT_EQ(late.GetPolicyHeader("p1").GetName(), "");
    EXPECT_EQ(late.GetPolicyHeader("p1").GetOwner(), "kept");
    EXPECT_EQ(late.GetPolicyHeader("p1").GetCategoryCount(), 0);
    EXPECT_EQ(late.GetPolicyHeader("p1").GetAttributesCount(), 0);
    const PolicyContainer twice = Read(
        "<policyheader><policy_container_id>p1</policy_container_id><policy_name>lost</policy_name>"
        "<policy_container_id>p2</policy_container_id><policy_owner>kept</policy_owner></policyheader>");
    ASSERT_EQ(twice.GetCount(), 1);
    EXPECT_EQ(twice.GetPolicyHeader("p2").GetName(), "");
    EXPECT_EQ(twice.GetPolicyHeader("p2").GetOwner(), "kept");
}

TEST(PolicyContainerRead, AHeaderWithoutAnIdIsLeftOut) {
    EXPECT_EQ(Read("<policyheader/>").GetCount(), 0);
    const PolicyContainer list = Read(
        "<policyheader><policy_name>none</policy_name></policyheader>"
        "<policyheader><policy_container_id>p2</policy_container_id></policyheader>"
        "<policyheader><policy_name>none</policy_name></policyheader>");
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetPolicyHeader("p2").GetName(), "");
}

TEST(PolicyContainerRead, TheLaterOfTwoHeadersWithOneIdStands) {
    const PolicyContainer list = Read(
        "<policyheader><policy_container_id>p</policy_container_id><policy_name>1</policy_name></policyheader>"
        "<policyheader><policy_container_id>P</policy_container_id><policy_name>2</policy_name></policyheader>");
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetPolicyHeader("p").GetName(), "2");
}

struct UnknownRow {
    const char* what;
    const char* inside;  ///< behind the id
    const char* name;
    const char* owner;
    int categories, attributes;
};

const UnknownRow kUnknown[] = {
    {"an unknown element", "<new>x</new><policy_name>n</policy_name>", "n", "", 0, 0},
    {"an unknown element in an unknown one", "<new>x<newer>y</newer>z</new><policy_name>n</policy_name>", "n", "", 0,
     0},
    {"an unknown element in a field ends its text",
     "<policy_name>a<new>b</new>c</policy_name><policy_owner>o"
     "</policy_owner>",
     "", "o", 0, 0},
    {"a field in a field is unknown", "<policy_name>a<policy_owner>b</policy_owner>c</policy_name>", "", "", 0, 0},
    {"a category outside the categories", "<policy_category>x</policy_category><policy_name>n</policy_name>", "n", "",
     0, 0},
    {"a pair outside the attributes",
     "<policy_attributename>a</policy_attributename><policy_attributevalue>b"
     "</policy_attributevalue><policy_name>n</policy_name>",
     "n", "", 0, 0},
    {"a field in the categories",
     "<policy_categories><policy_name>x</policy_name><policy_category>c</policy_category>"
     "</policy_categories><policy_owner>o</policy_owner>",
     "", "o", 1, 0},
    {"an attribute in the categories",
     "<policy_categories><policy_attribute>x</policy_attribute></policy_categories>"
     "<policy_owner>o</policy_owner>",
     "", "o", 0, 0},
    {"a category in the attributes",
     "<policy_attribute><policy_category>x</policy_category><policy_attributename>a"
     "</policy_attributename><policy_attributevalue>b</policy_attributevalue></policy_attribute>",
     "", "", 0, 1},
    {"an unknown element in the categories",
     "<policy_categories>t<new>x<newer/></new><policy_category>c"
     "</policy_category></policy_categories><policy_owner>o</policy_owner>",
     "", "o", 1, 0},
    {"an unknown element between name and value",
     "<policy_attribute><policy_attributename>a</policy_attributename>"
     "<new>x</new><policy_attributevalue>b</policy_attributevalue></policy_attribute>",
     "", "", 0, 1},
    {"the argument's own name", "<PolicyContainer>x</PolicyContainer><policy_name>n</policy_name>", "n", "", 0, 0},
    {"the element of a list", "<policyheader>x</policyheader><policy_name>n</policy_name>", "n", "", 0, 0},
    {"another case", "<Policy_Name>x</Policy_Name><POLICY_OWNER>o</POLICY_OWNER>", "", "", 0, 0},
    {"text between the elements", "x<policy_name>n</policy_name>y", "n", "", 0, 0},
};

TEST(PolicyContainerRead, WhatIsUnknownWhereItStandsIsIgnored) {
    for (const UnknownRow& row : kUnknown) {
        const PolicyHeader header = ReadHeader(row.inside);
        EXPECT_EQ(header.GetName(), row.name) << row.what;
        EXPECT_EQ(header.GetOwner(), row.owner) << row.what;
        EXPECT_EQ(header.GetCategoryCount(), row.categories) << row.what;
        EXPECT_EQ(header.GetAttributesCount(), row.attributes) << row.what;
    }
}

TEST(PolicyContainerRead, AnotherElementBesideTheHeadersIsRefusedAndTextIsSkipped) {
    const std::string good = "<policyheader><policy_container_id>p1</policy_container_id></policyheader>";
    for (const char* other : {"<new>x</new>", "<policy_name>x</policy_name>", "<PolicyContainer>x</PolicyContainer>",
                              "<new><policyheader><policy_container_id>p9</policy_container_id></policyheader></new>",
                              "<policy_container_id>p9</policy_container_id>", "<Policyheader/>"}) {
        for (const std::string& inside : {other + good, good + other, std::string(other)}) {
            EXPECT_THROW(Read(inside), LumVoxSoap::SOAPFormatException) << inside;
        }
    }
    EXPECT_EQ(Read("text" + good + "text").GetPolicyHeader(0).GetContainerId(), "p1");
}

TEST(PolicyContainerRead, AttributesArePairsOfANameAndTheValueBehindIt) {
    const PolicyHeader header = ReadHeader(
        "<policy_attribute><policy_attributename>a</policy_attributename>"
        "<policy_attributevalue>1</policy_attributevalue><policy_attributevalue>2=3</policy_attributevalue>"
        "<policy_attributename>unused</policy_attributename><policy_attributename>b</policy_attributename>"
        "<policy_attributevalue/></policy_attribute>");
    ASSERT_EQ(header.GetAttributesCount(), 3);
    EXPECT_EQ(header.GetAttribute(0).GetValue(), "1");
    EXPECT_EQ(header.GetAttribute(1).GetName(), "a");
    EXPECT_EQ(header.GetAttribute(1).GetValue(), "2=3");
    EXPECT_EQ(header.GetAttribute(2).GetName(), "b");
}

TEST(PolicyContainerRead, AnAttributeWithoutAUsableNameIsRefused) {
    EXPECT_RAISES(ReadHeader("<policy_attribute><policy_attributevalue>1</policy_attributevalue></policy_attribute>"),
                  IllegalArgumentError_t, 70);
    EXPECT_RAISES(ReadHeader("<policy_attribute><policy_attributename>a=b</policy_attributename>"
                             "<policy_attributevalue>1</policy_attributevalue></policy_attribute>"),
                  IllegalArgumentError_t, 71);
}

TEST(PolicyContainerRead, RepeatedCategoriesAndPairsStandOnce) {
    const PolicyHeader header = ReadHeader(
        "<policy_categories><policy_category>c</policy_category><policy_category>c</policy_category><policy_category/>"
        "</policy_categories><policy_categories><policy_category>d</policy_category></policy_categories>"
        "<policy_attribute><policy_attributename>a</policy_attributename>"
        "<policy_attributevalue>1</policy_attributevalue><policy_attributevalue>1</policy_attributevalue>"
        "</policy_attribute>");
    EXPECT_EQ(header.GetCategoryCount(), 2);
    EXPECT_EQ(header.GetAttributesCount(), 1);
}

TEST(PolicyContainerRead, EmptyGroupsAreEmpty) {
    const PolicyHeader header = ReadHeader("<policy_categories/><policy_attribute/><policy_owner>o</policy_owner>");
    EXPECT_EQ(header.GetCategoryCount() + header.GetAttributesCount(), 0);
    EXPECT_EQ(header.GetOwner(), "o");
}

TEST(PolicyContainerRead, TextMayArriveInPieces) {
    EXPECT_EQ(ReadHeader("<policy_name>a&amp;<![CDATA[<b>]]><!-- x -->c</policy_name>").GetName(), "a&<b>c");
}

TEST(PolicyContainerRead, EachMessageBringsAContainerOfItsOwn) {
    PolicyContainerSoapArg argument("PolicyContainer");
    ReadArgument(argument, "<policyheader><policy_container_id>p1</policy_container_id></policyheader>");
    const PolicyContainer first = argument.GetContainer();
    ReadArgument(argument, "<policyheader><policy_container_id>p2</policy_container_id></policyheader>");
    EXPECT_EQ(first.GetCount(), 1);
    EXPECT_EQ(first.GetPolicyHeader(0).GetContainerId(), "p1");
    EXPECT_EQ(argument.GetContainer().GetPolicyHeader(0).GetContainerId(), "p2");
}

TEST(PolicyContainerRead, TheContainerOutlivesTheArgument) {
    std::optional<PolicyContainer> list;
    {
        PolicyContainerSoapArg argument("PolicyContainer");
        ReadArgument(argument, kFullHeader);
        list = argument.GetContainer();
    }
    EXPECT_EQ(list->GetPolicyHeader("p1").GetName(), "Name");
}

TEST(PolicyContainerRead, AMessageThatIsCutIsRefusedAtEveryByte) {
    const std::string text = SoapMessage("<PolicyContainer>" + std::string(kFullHeader) + "</PolicyContainer>");
    for (std::size_t length = 0; length < text.size(); ++length) {
        PolicyContainerSoapArg argument("PolicyContainer");
        LumVoxSoap::SOAPArg* const arguments[] = {&argument};
        const LumPalArray::CharArray_t bytes(text.data(), length);
        EXPECT_THROW(LumVoxSoap::SOAPEnvelope().Read(LumPalIo::CharArrayInputStream_t::Over(bytes), 1, arguments),
                     LumPalMsg::RuntimeException_t)
            << length;
    }
}

}  // namespace
}  // namespace LumConf
