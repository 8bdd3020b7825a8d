#include "PolicyContainerSoapArg.h"

#include <gtest/gtest.h>

#include <optional>

#include "Exceptions.h"
#include "PolicyAttribute.h"
#include "PolicyHeader.h"
#include "Raised.h"
#include "SoapText.h"

namespace LumConf {
namespace {

using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

PolicyContainer Read(const std::string& inside) {
    PolicyContainerSoapArg argument("PolicyContainer");
    ReadArgument(argument, inside);
    return argument.GetContainer();
}

std::string WrittenFor(const PolicyContainer& container) {
    PolicyContainerSoapArg argument("PolicyContainer");
    argument.SetContainer(container);
    return Written(argument);
}

/// Reads what stands in one header behind its id.
PolicyHeader ReadHeader(const std::string& inside) {
    const PolicyContainer list =
        Read("<policyheader><policy_container_id>p1</policy_container_id>" + inside + "</policyheader>");
    EXPECT_EQ(list.GetCount(), 1);
    return list.GetPolicyHeader("p1");
}

PolicyHeader FullHeader(const char* id) {
    PolicyHeader header;
    header.SetContainerId(id);
    header.SetVersionId("v-1");
    header.SetDisabled();
    header.SetName("Name");
    header.SetVersion("1.2");
    header.SetDescription(" two\nlines ");
    header.SetOwner("Owner");
    header.SetTypeName("type");
    header.SetTypeVersion("3");
    header.SetTypeId("t-1");
    header.SetCategory("c1");
    header.SetCategory("c2");
    header.SetAttribute("a1", "v1");
    header.SetAttribute("a2", "");
    return header;
}

PolicyContainer ContainerOf(std::initializer_list<PolicyHeader> headers) {
    PolicyContainer container;
    for (const PolicyHeader& header : headers) container.Insert(header.GetImpl());
    return container;
}

const char* const kFullHeader =
    "<policyheader><policy_container_id>p1</policy_container_id><policy_status>disabled</policy_status>"
    "<policy_name>Name</policy_name><policy_version>1.2</policy_version>"
    "<policy_description> two\nlines </policy_description><policy_owner>Owner</policy_owner>"
    "<policy_type_name>type</policy_type_name><policy_type_version>3</policy_type_version>"
    "<policy_type_id>t-1</policy_type_id>"
    "<policy_categories><policy_category>c1</policy_category><policy_category>c2</policy_category></policy_categories>"
    "<policy_attribute><policy_attributename>a1</policy_attributename><policy_attributevalue>v1</policy_attributevalue>"
    "<policy_attributename>a2</policy_attributename><policy_attributevalue></policy_attributevalue></policy_attribute>"
    "</policyheader>";

TEST(PolicyContainerSoapArg, EveryFieldIsWrittenInOrderButNotTheVersionId) {
    EXPECT_EQ(WrittenFor(ContainerOf({FullHeader("P1")})), kFullHeader);
}

TEST(PolicyContainerSoapArg, WithoutCategoriesAndAttributesTheirElementsAreNotWritten) {
    PolicyHeader header;
    header.SetContainerId("p1");
    EXPECT_EQ(WrittenFor(ContainerOf({header})),
              "<policyheader><policy_container_id>p1</policy_container_id><policy_status>enabled</policy_status>"
              "<policy_name></policy_name><policy_version></policy_version>"
              "<policy_description></policy_description><policy_owner></policy_owner>"
              "<policy_type_name></policy_type_name><policy_type_version></policy_type_version>"
              "<policy_type_id></policy_type_id></policyheader>");
}

TEST(PolicyContainerSoapArg, OfTheDataFilesOnlyThoseThatWereAskedForAreWrittenBehindAllElse) {
    PolicyHeader header = FullHeader("p1");
    for (const char* file : {"a", "b", "c"}) header.SetDataFile(file);
    const PolicyContainer container = ContainerOf({header});
    EXPECT_EQ(WrittenFor(container), kFullHeader);
    PolicyContainerSoapArg argument("PolicyContainer");
    argument.SetContainer(container);
    argument.SetDataFiles({"c", "a", "of nobody"});
    const std::string text = Written(argument);
    EXPECT_TRUE(
        text.ends_with("</policy_attribute><policy_data_file>a</policy_data_file>"
                       "<policy_data_file>c</policy_data_file></policyheader>"))
        << text;
    const PolicyHeader received = Read(text).GetPolicyHeader("p1");
    ASSERT_EQ(received.GetDataFileCount(), 2);
    EXPECT_EQ(received.GetDataFile(1), "c");
    EXPECT_EQ(received.GetMissingDataFileCount(), 0);
}

TEST(PolicyContainerSoapArg, TheMissingDataFilesAreWrittenForAPolicyThatHasSome) {
    PolicyHeader whole = FullHeader("p0"), incomplete = FullHeader("p1");
    incomplete.SetName("Incomplete");
    incomplete.SetDataFile("a<b");
    incomplete.GetImpl()->AddMissingDataFile("a<b");
    incomplete.GetImpl()->AddMissingDataFile("c");
    const std::string text = WrittenFor(ContainerOf({whole, incomplete}));
    EXPECT_TRUE(
        text.ends_with("</policy_attribute><policy_missing_data_file>a&lt;b</policy_missing_data_file>"
                       "<policy_missing_data_file>c</policy_missing_data_file></policyheader>"))
        << text;
    EXPECT_EQ(text.find("policy_missing_data_file"), text.rfind("</policy_attribute>") + 20);
    const PolicyContainer received = Read(text);
    EXPECT_EQ(received.GetPolicyHeader("p0").GetMissingDataFileCount(), 0);
    ASSERT_EQ(received.GetPolicyHeader("p1").GetMissingDataFileCount(), 2);
    EXPECT_EQ(received.GetPolicyHeader("p1").GetMissingDataFile(0), "a<b");
    EXPECT_EQ(received.GetPolicyHeader("p1").GetDataFileCount(), 0);
}

TEST(PolicyContainerSoapArg, PoliciesAreWrittenInTheOrderOfTheContainer) {
    PolicyHeader last = FullHeader("z"), first = FullHeader("a");
    last.SetName("Last");
    const std::string text = WrittenFor(ContainerOf({last, first}));
    EXPECT_LT(text.find(">a<"), text.find(">z<"));
    EXPECT_NE(text.find(">z<"), std::string::npos);
}

TEST(PolicyContainerSoapArg, AnEmptyContainerArrivesAsAnEmptyContainer) {
    EXPECT_EQ(WrittenFor(PolicyContainer()), "");
    EXPECT_EQ(Read("").GetCount(), 0);
    EXPECT_EQ(Read(" \n <!-- nothing --> ").GetCount(), 0);
}

TEST(PolicyContainerSoapArg, AnArgumentThatNeverCameHasNoContainer) {
    PolicyContainerSoapArg argument("PolicyContainer");
    EXPECT_RAISES(argument.GetContainer(), PolicyNotFoundError, 153);
    ReadMessage(argument, "<Other><policyheader/></Other>");
    EXPECT_RAISES(argument.GetContainer(), PolicyNotFoundError, 153);
    const LumPalMsg::Message_t message =
        MessagesOf<PolicyNotFoundError>([&] { argument.GetContainer(); }).GetMessage(0);
    EXPECT_EQ(message.GetMessageText(), "No policy object found in SOAP parser.");
    EXPECT_EQ(message.GetSeverity(), LumPalMsg::Severity_e::Error);
}

TEST(PolicyContainerSoapArg, AnotherElementBeforeTheArgumentHasNoTaker) {
    PolicyContainerSoapArg argument("PolicyContainer");
    EXPECT_EQ(argument.StartElement("", "Other", ""), nullptr);
    EXPECT_FALSE(argument.HasArrived());
    EXPECT_RAISES(argument.GetContainer(), PolicyNotFoundError, 153);
}

TEST(PolicyContainerSoapArg, EveryFieldSurvivesTheWayButTheVersionId) {
    PolicyHeader second = FullHeader("p2");
    second.SetName("Other");
    const PolicyContainer received = Read(WrittenFor(ContainerOf({FullHeader("p1"), second})));
    ASSERT_EQ(received.GetCount(), 2);
    EXPECT_EQ(received.GetPolicyHeader("p2").GetName(), "Other");
    const PolicyHeader header = received.GetPolicyHeader("p1");
    EXPECT_EQ(header.GetVersionId(), "");
    EXPECT_TRUE(header.IsDisabled());
    EXPECT_EQ(header.GetDescription(), " two\nlines ");
    ASSERT_EQ(header.GetCategoryCount(), 2);
    EXPECT_EQ(header.GetCategory(1), "c2");
    ASSERT_EQ(header.GetAttributesCount(), 2);
    EXPECT_EQ(header.GetAttribute(0).GetValue(), "v1");
    EXPECT_EQ(header.GetAttribute(1).GetName(), "a2");
    EXPECT_EQ(header.GetAttribute(1).GetValue(), "");
    EXPECT_EQ(WrittenFor(ContainerOf({header})), kFullHeader);
}

TEST(PolicyContainerSoapArg, AHundredPoliciesSurviveTheWay) {
    PolicyContainer sent;
    for (int i = 0; i < 100; ++i) {
        PolicyHeader header = FullHeader(("p" + std::to_string(1000 + i)).c_str());
        header.SetName(LumPalStr::NumToStr(i));
        sent.Insert(header.GetImpl());
    }
    const PolicyContainer received = Read(WrittenFor(sent));
    EXPECT_EQ(received.GetCount(), 100);
    EXPECT_EQ(WrittenFor(received), WrittenFor(sent));
}

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

TEST(PolicyContainerSoapArg, EachElementIsReadIntoItsOwnField) {
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

TEST(PolicyContainerSoapArg, TheStatusIsTheTextAsItComes) {
    EXPECT_TRUE(ReadHeader("<policy_status>enabled</policy_status>").IsEnabled());
    EXPECT_TRUE(ReadHeader("<policy_status>disabled</policy_status>").IsDisabled());
    for (const char* text : {"", "DISABLED", " disabled", "1"}) {
        const PolicyHeader header = ReadHeader("<policy_status>" + std::string(text) + "</policy_status>");
        EXPECT_FALSE(header.IsEnabled() || header.IsDisabled()) << text;
    }
}

TEST(PolicyContainerSoapArg, TheIdMustComeFirst) {
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

TEST(PolicyContainerSoapArg, AHeaderWithoutAnIdIsLeftOut) {
    EXPECT_EQ(Read("<policyheader/>").GetCount(), 0);
    const PolicyContainer list = Read(
        "<policyheader><policy_name>none</policy_name></policyheader>"
        "<policyheader><policy_container_id>p2</policy_container_id></policyheader>"
        "<policyheader><policy_name>none</policy_name></policyheader>");
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetPolicyHeader("p2").GetName(), "");
}

TEST(PolicyContainerSoapArg, TheLaterOfTwoHeadersWithOneIdStands) {
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

TEST(PolicyContainerSoapArg, WhatIsUnknownWhereItStandsIsIgnored) {
    for (const UnknownRow& row : kUnknown) {
        const PolicyHeader header = ReadHeader(row.inside);
        EXPECT_EQ(header.GetName(), row.name) << row.what;
        EXPECT_EQ(header.GetOwner(), row.owner) << row.what;
        EXPECT_EQ(header.GetCategoryCount(), row.categories) << row.what;
        EXPECT_EQ(header.GetAttributesCount(), row.attributes) << row.what;
    }
}

TEST(PolicyContainerSoapArg, AnotherElementBesideTheHeadersIsRefusedAndTextIsSkipped) {
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

TEST(PolicyContainerSoapArg, AttributesArePairsOfANameAndTheValueBehindIt) {
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

TEST(PolicyContainerSoapArg, AnAttributeWithoutAUsableNameIsRefused) {
    EXPECT_RAISES(ReadHeader("<policy_attribute><policy_attributevalue>1</policy_attributevalue></policy_attribute>"),
                  IllegalArgumentError_t, 70);
    EXPECT_RAISES(ReadHeader("<policy_attribute><policy_attributename>a=b</policy_attributename>"
                             "<policy_attributevalue>1</policy_attributevalue></policy_attribute>"),
                  IllegalArgumentError_t, 71);
}

TEST(PolicyContainerSoapArg, RepeatedCategoriesAndPairsStandOnce) {
    const PolicyHeader header = ReadHeader(
        "<policy_categories><policy_category>c</policy_category><policy_category>c</policy_category><policy_category/>"
        "</policy_categories><policy_categories><policy_category>d</policy_category></policy_categories>"
        "<policy_attribute><policy_attributename>a</policy_attributename>"
        "<policy_attributevalue>1</policy_attributevalue><policy_attributevalue>1</policy_attributevalue>"
        "</policy_attribute>");
    EXPECT_EQ(header.GetCategoryCount(), 2);
    EXPECT_EQ(header.GetAttributesCount(), 1);
}

TEST(PolicyContainerSoapArg, EmptyGroupsAreEmpty) {
    const PolicyHeader header = ReadHeader("<policy_categories/><policy_attribute/><policy_owner>o</policy_owner>");
    EXPECT_EQ(header.GetCategoryCount() + header.GetAttributesCount(), 0);
    EXPECT_EQ(header.GetOwner(), "o");
}

TEST(PolicyContainerSoapArg, TextMayArriveInPieces) {
    EXPECT_EQ(ReadHeader("<policy_name>a&amp;<![CDATA[<b>]]><!-- x -->c</policy_name>").GetName(), "a&<b>c");
}

TEST(PolicyContainerSoapArg, EachMessageBringsAContainerOfItsOwn) {
    PolicyContainerSoapArg argument("PolicyContainer");
    ReadArgument(argument, "<policyheader><policy_container_id>p1</policy_container_id></policyheader>");
    const PolicyContainer first = argument.GetContainer();
    ReadArgument(argument, "<policyheader><policy_container_id>p2</policy_container_id></policyheader>");
    EXPECT_EQ(first.GetCount(), 1);
    EXPECT_EQ(first.GetPolicyHeader(0).GetContainerId(), "p1");
    EXPECT_EQ(argument.GetContainer().GetPolicyHeader(0).GetContainerId(), "p2");
}

TEST(PolicyContainerSoapArg, TheContainerOutlivesTheArgument) {
    std::optional<PolicyContainer> list;
    {
        PolicyContainerSoapArg argument("PolicyContainer");
        ReadArgument(argument, kFullHeader);
        list = argument.GetContainer();
    }
    EXPECT_EQ(list->GetPolicyHeader("p1").GetName(), "Name");
}

TEST(PolicyContainerSoapArg, AMessageThatIsCutIsRefusedAtEveryByte) {
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
