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

}  // namespace
}  // namespace LumConf
