// Installed policies whose documents have more than one "data" element, or more than one "policy" element.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "PolicyDocs.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

/// Two data files, each in a "data" element of its own.
TestPolicy WithTwoDataElements() {
    TestPolicy policy;
    policy.data = {{"one", "1"}, {"two", "2"}};
    policy.document = Replaced(policy.Document(), "<file_name>two", "</data><data><file_name>two");
    return policy;
}

class DataElements : public testing::Test {
protected:
    PolicyNode node;

    void SetOwner(const std::string& owner) {
        node->SetOwner("tester", String_t::FromUtf8(owner), Selection(), PolicyForwarder::Options().SetNotify(false));
    }
    /// So many data files the document in the store names.
    int Stored() {
        node->ReinitCache("tester");
        return node.Get("p1").GetDataFileCount();
    }
    std::string Document() { return node.InstalledContent("files/p1_header.xml"); }
};

TEST_F(DataElements, EachGetsAllFilesWithEveryRewriteUntilTheLimitAndThenTheDocumentStays) {
    node.Install(WithTwoDataElements());
    int files = 4;
    EXPECT_EQ(Stored(), files);
    for (; 2 * files < 10000; files *= 2) {
        SetOwner("owner " + std::to_string(files));
        ASSERT_EQ(Stored(), 2 * files);
    }
    const std::string before = Document();
    const CaughtFailure failure = FailureOf<PolicyHeaderException>([&] { SetOwner("too late"); });
    EXPECT_THAT(failure.text, HasSubstr("would hold '16384' data files"));
    EXPECT_THAT(failure.text, HasSubstr("at most '10000' files"));
    EXPECT_EQ(Document(), before);
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_THAT(node.Installed(), UnorderedElementsAre("files/p1_header.xml", "files/one", "files/two"));
    EXPECT_EQ(Stored(), files);
    EXPECT_EQ(node.Get("p1").GetOwner(), "owner " + LumPalStr::NumToStr(files / 2));
}

TEST_F(DataElements, APolicyThatNamesAFileTwiceIsRemovedWithoutAFailure) {
    node.Install(WithTwoDataElements());
    ASSERT_EQ(Stored(), 4);
    EXPECT_NO_THROW(node.Remove(Selection()));
    EXPECT_THAT(node.Installed(), IsEmpty());
    EXPECT_EQ(node.Audited("Failure"), 0);
}

TEST_F(DataElements, APolicyThatNamesAFileTwiceIsReplacedByAnother) {
    node.Install(WithTwoDataElements());
    ASSERT_EQ(Stored(), 4);
    TestPolicy next;
    next.data = {{"three", "3"}};
    node.Install(next);
    EXPECT_EQ(Stored(), 1);
    EXPECT_THAT(node.Installed(), UnorderedElementsAre("files/p1_header.xml", "files/three"));
}

TEST_F(DataElements, AnInstallThatWouldPassTheLimitLeavesWhatIsInstalled) {
    TestPolicy old;
    old.data = {{"old", "o"}};
    node.Install(old);
    const std::string before = Document();
    TestPolicy policy;
    policy.data = {{"one", "1"}};
    std::string elements;
    for (int i = 0; i < 10000; ++i) elements += "<data/>";
    policy.document = Replaced(policy.Document(), "</files>", elements + "</files>");
    const CaughtFailure failure = FailureOf<PolicyHeaderException>([&] { node.Install(policy); });
    EXPECT_THAT(failure.text, HasSubstr("at most '10000' files"));
    EXPECT_EQ(Document(), before);
    EXPECT_THAT(node.Installed(), UnorderedElementsAre("files/p1_header.xml", "files/old"));
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_THAT(node.Temporary(), IsEmpty());
}

TEST_F(DataElements, OfTwoPolicyElementsTheLastOneNamesTheInstalledPolicy) {
    TestPolicy policy;
    policy.document = Replaced(policy.Document(), "<policytype>",
                               "<policy><ids><container_id>P2</container_id></ids><name>Second</name></policy>"
                               "<policytype>");
    node.Install(policy);
    EXPECT_THAT(node.Installed(), UnorderedElementsAre("files/p2_header.xml"));
    EXPECT_EQ(node.Get("p2").GetName(), "Second");
}

TEST_F(DataElements, ADocumentOfWhichATextWouldBeMissingIsNotInstalled) {
    for (const char* type : {"[<!ENTITY e SYSTEM 'x'>]", "[<!ENTITY % p \"<!ENTITY e 'x'>\">%p;]", "SYSTEM 'x'"}) {
        TestPolicy policy;
        policy.name = "ab&e;cd";
        policy.document =
            Replaced(policy.Document(), "<header", "<!DOCTYPE header " + std::string(type) + ">\n<header");
        const CaughtFailure failure = FailureOf<LumPalMsg::RuntimeException_t>([&] { node.Install(policy); });
        EXPECT_THAT(failure.text, testing::ContainsRegex("is refused at line [0-9]+, column [0-9]+")) << type;
        EXPECT_THAT(node.Installed(), IsEmpty());
    }
}

TEST(DocumentWarnings, TellOfMoreThanOnePolicyOrDataElementAndOfNothingElse) {
    const std::string second = "<policy><ids/></policy>";
    const struct {
        const char* name;
        std::string inHeader, inPolicy, files;
        std::vector<const char*> warnings;
    } rows[] = {
        {"a plain document", "", "", "<data/>", {}},
        {"none of both", "", "", "", {}},
        {"two policy elements", second, "", "<data/>", {"'2' elements 'policy'"}},
        {"three of them", second + second, "", "<data/>", {"'3' elements 'policy'"}},
        {"two data elements", "", "", "<data/><data/>", {"'2' elements 'data'"}},
        {"in two lists of files", "", "<files><data/></files>", "<data/>", {"'2' elements 'data'"}},
        {"both", second, "", "<data/><data/>", {"'2' elements 'policy'", "'2' elements 'data'"}},
        {"elements at other places", "<x>" + second + "</x><data/>", "<policy/><data/>", "<x><data/></x><data/>", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        policydocs::Doc doc;
        doc.inHeader = row.inHeader, doc.inPolicy = row.inPolicy, doc.files = row.files;
        const policydocs::PolicyFile file(doc.Text());
        const LumPalMsg::MessageList_t warnings = PolicyHeader::FindWarnings(file.File());
        ASSERT_EQ(warnings.GetMessageCount(), static_cast<int>(row.warnings.size()));
        for (std::size_t i = 0; i < row.warnings.size(); ++i) {
            const LumPalMsg::Message_t warning = warnings.GetMessage(static_cast<int>(i));
            EXPECT_EQ(warning.GetSeverity(), LumPalMsg::Severity_e::Warning);
            EXPECT_THAT(warning.GetMessageText().ToUtf8(), HasSubstr(row.warnings[i]));
            EXPECT_THAT(warning.GetMessageText().ToUtf8(), HasSubstr("p_header.xml"));
        }
    }
}

TEST(DocumentWarnings, AreFoundInADocumentThatLacksElementsAndInNoneThatIsMalformed) {
    policydocs::Doc doc;
    doc.files = "<data/><data/>";
    doc.without = {"name", "policytype", "certificate"};
    EXPECT_EQ(PolicyHeader::FindWarnings(policydocs::PolicyFile(doc.Text()).File()).GetMessageCount(), 1);
    EXPECT_THROW(PolicyHeader::FindWarnings(policydocs::PolicyFile("<header>").File()), PolicyHeaderException);
}

}  // namespace
}  // namespace LumConf
