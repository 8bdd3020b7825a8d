// Installs that are refused, and what they leave alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Files.h"
#include "InstallTest.h"
#include "LumPalXml.h"
#include "TraceLines.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

/// Everything that an unsuccessful install must leave alone.
struct StoreState {
    explicit StoreState(PolicyNode& node) : ids(node.Ids()), installed(node.Installed()) {
        for (const std::string& file : installed) contents += node.InstalledContent(file);
    }
    bool operator==(const StoreState&) const = default;
    std::string ids, contents;
    std::set<std::string> installed;
};

TEST_F(InstallTest, ADataFileThatTheArrayDoesNotCarryFailsAndTheUnpackedFilesGo) {
    node.Install(Policy("z"));
    const StoreState before(node);
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.data.pop_back();
    const CaughtFailure failure = FailureOf<PolicyFileException>([&] { node.Install(policy); });
    EXPECT_EQ(failure.id, 107u);
    EXPECT_NE(failure.text.find("'" + node.IncomingFolder() + "/a.two'"), std::string::npos);
    EXPECT_NE(failure.text.find("`" + node.IncomingFolder() + "/a_header.xml`"), std::string::npos);
    EXPECT_NE(failure.text.find("`a`"), std::string::npos);
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_TRUE(StoreState(node) == before);
    EXPECT_EQ(node.Audited("Failure Audit: INSTALL: Policy (name: 'name of a', id: 'a') could not be installed."), 1);
}

TEST_F(InstallTest, AFailedInstallIsTracedWithTheFileAndTheReason) {
    TraceLines trace;
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.data.clear();
    EXPECT_THROW(node.Install(policy), PolicyFileException);
    EXPECT_TRUE(
        trace.Contains("Error during installation of policy file '" + node.IncomingFolder() + "/a_header.xml'."));
    EXPECT_TRUE(trace.Contains("does not exist."));
}

TEST_F(InstallTest, AnUnknownDirectoryInThePlaceOfADataFileDoesNotCountAsTheFile) {
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.data.pop_back();
    fs::create_directory(node.IncomingFolder() + "/a.two");
    EXPECT_EQ(FailureOf<PolicyFileException>([&] { node.Install(policy); }).id, 107u);
    fs::remove(node.IncomingFolder() + "/a.two");
    fs::create_symlink("/etc/passwd", node.IncomingFolder() + "/a.two");
    EXPECT_EQ(FailureOf<PolicyFileException>([&] { node.Install(policy); }).id, 107u);
}

/// The document without an element; `from` says behind which tag it is looked for.
std::string Without(std::string document, const std::string& element, const std::string& from = "") {
    const auto at = document.find("<" + element + ">", document.find(from));
    const std::string end = "</" + element + ">";
    return document.erase(at, document.find(end, at) + end.size() - at);
}

struct MissingRow {
    const char* element;
    const char* from;
    unsigned id;
};

const MissingRow kMissing[] = {
    {"policy", "", 73},       {"ids", "", 74},
    {"container_id", "", 75}, {"name", "", 76},
    {"owner", "", 77},        {"version", "", 78},
    {"description", "", 79},  {"status", "", 80},
    {"policytype", "", 81},   {"name", "<policytype>", 82},
    {"certificate", "", 83},
};

TEST_F(InstallTest, ADocumentWithoutARequiredElementFailsIsCleanedUpAndAuditedWithoutAName) {
    for (const MissingRow& row : kMissing) {
        SCOPED_TRACE(row.id);
        TestPolicy policy = Policy("a");
        policy.document = Without(policy.Document(), row.element, row.from);
        EXPECT_EQ(FailureOf<PolicyHeaderException>([&] { node.Install(policy); }).id, row.id);
        EXPECT_EQ(node.Incoming().count("a_header.xml"), 0u);
    }
    EXPECT_EQ(node.Audited("Failure Audit: NOTIFY: Policy installation had errors. Calling system: 'tester'"),
              static_cast<int>(std::size(kMissing)));
    EXPECT_THAT(node.Installed(), IsEmpty());
    node.Restart();
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(InstallTest, FilesThatTheDocumentDoesNotNameAreNotInstalledAndDoNotStay) {
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.data.emplace_back("more.txt", "not named");
    policy.data.emplace_back("b.txt", "not named");
    node.Install(policy);
    EXPECT_THAT(node.Installed(), ElementsAre("files/a.one", "files/a.two", "files/a_header.xml"));
    EXPECT_THAT(node.Incoming(), IsEmpty());
    policy.data.erase(policy.data.begin());
    EXPECT_EQ(FailureOf<PolicyFileException>([&] { node.Install(policy); }).id, 107u);
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(InstallTest, AFileThatAnotherInstallLeftIsNotTakenForThePolicysOwn) {
    WriteText(node.IncomingFolder() + "/a.two", "from somebody else");
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.data.pop_back();
    EXPECT_EQ(FailureOf<PolicyFileException>([&] { node.Install(policy); }).id, 107u);
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_FALSE(node->IsPolicyInstalled());
}

TEST_F(InstallTest, AMalformedDocumentFailsWithoutCleanUpAndWithoutAnAuditLine) {
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.document.erase(policy.document.find("</header>"));
    EXPECT_THROW(node.Install(policy), LumPalXml::SAX::SAXParseException_t);
    EXPECT_THAT(node.Incoming(), ElementsAre("a.one", "a.two", "a_header.xml"));
    EXPECT_EQ(node.Audited("INSTALL"), 0);
    node.Restart();
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(InstallTest, ABadAttributeNameFailsWithoutCleanUpAndWithoutAnAuditLine) {
    for (const auto& [name, id] : std::vector<std::pair<std::string, unsigned>>{{" ", 70}, {"a=b", 71}}) {
        TestPolicy policy = Policy("a");
        policy.attributes = {{name, "x"}};
        EXPECT_EQ(FailureOf<LumPalMsg::IllegalArgumentError_t>([&] { node.Install(policy); }).id, id);
        EXPECT_EQ(node.Incoming().count("a_header.xml"), 1u);
    }
    EXPECT_EQ(node.Audited("INSTALL"), 0);
}

TEST_F(InstallTest, WhatAFailedInstallLeftDoesNotHinderTheNext) {
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.document.erase(policy.document.find("</header>"));
    EXPECT_THROW(node.Install(policy), LumPalXml::SAX::SAXParseException_t);
    node.Install(Policy("a"));
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(InstallTest, ADocumentOfAnotherNamespaceFailsAndIsCleanedUp) {
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.document.replace(policy.document.find("lum.tessel.com"), 14, "example.org/xx");
    EXPECT_EQ(FailureOf<PolicyHeaderException>([&] { node.Install(policy); }).id, 86u);
    EXPECT_EQ(node.Incoming().count("a_header.xml"), 0u);
}

TEST_F(InstallTest, MoreSignaturesThanDataFilesFailWhileTheInstalledPolicyIsStillWhole) {
    node.Install(Policy("a"));
    const StoreState before(node);
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.document.insert(policy.document.find("</data>"), "<signature/>");
    EXPECT_EQ(FailureOf<PolicyHeaderException>([&] { node.Install(policy); }).id, 84u);
    EXPECT_TRUE(StoreState(node) == before);
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

}  // namespace
}  // namespace LumConf
