#include "RpcPolicyFiles.h"

#include "ServerTest.h"
#include "StoredPolicy.h"

namespace {

using namespace LumConf;
using Sender = NodeClient::Sender;

constexpr const char* kAll = "<PolicySelection><selection>8</selection><name/></PolicySelection>";

std::string Asking(const std::string& what) {
    return kAll + ("<PolicyFilesMode>" + what + "</PolicyFilesMode>");
}

struct FilesAnswer {
    int value = -1;
    LumPalStr::String_t text;
    LumPalArray::CharArray_t package;
};

class RpcPolicyFilesTest : public ServerTest {
protected:
    FilesAnswer Ask(const std::string& elements, Sender sender = Sender::Administrator) {
        const RawAnswer raw =
            Client().Post(NodeClient::Envelope("<policyFiles>" + elements + "</policyFiles>"), sender);
        FilesAnswer answer;
        LumVoxSoap::SOAPArgInt value("PolicySelectionRetValue", &answer.value);
        LumVoxSoap::SOAPArgUnicodeString text("PolicySelectionRetString", &answer.text);
        LumVoxSoap::SOAPArgByteArray files("PolicyFiles");
        LumVoxSoap::SOAPArg* const results[] = {&value, &text, &files};
        const LumPalArray::CharArray_t body(raw.body.data(), raw.body.size());
        LumVoxSoap::SOAPEnvelope().Read(LumPalIo::CharArrayInputStream_t(body), 3, results);
        answer.package = files.TakeValue();
        return answer;
    }
};

TEST_F(RpcPolicyFilesTest, TheSelectedPoliciesAreInTheAnswer) {
    TestPolicy policy = Policy("a");
    policy.data = {{"x", "one"}};
    node.Install(policy);
    const FilesAnswer digests = Ask(Asking("1"));
    EXPECT_EQ(digests.value, 1);
    EXPECT_EQ(digests.text, "Files operation successful.");
    EXPECT_EQ(StoredPolicy::Unpack(digests.package).at(0).dataFiles.at(0).bytes.GetLength(), 32u);
    const FilesAnswer contents = Ask(Asking("2"));
    EXPECT_EQ(StoredPolicy::Unpack(contents.package).at(0).dataFiles.at(0).bytes.View(), "one");
    EXPECT_EQ(node.Audited("INFO Success Audit: LIST: Policy list operation was successfully. Calling system: "
                           "'local administrator'"),
              2);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(RpcPolicyFilesTest, WhatIsNotThereHasTheValuesOfAList) {
    EXPECT_EQ(Ask(Asking("1")).value, 2);
    node.Install(Policy("a"));
    const FilesAnswer none =
        Ask("<PolicySelection><selection>0</selection><name>b</name></PolicySelection>"
            "<PolicyFilesMode>1</PolicyFilesMode>");
    EXPECT_TRUE(none.value == 1 || none.value == 3) << none.value;
    EXPECT_EQ(Ask("<PolicySelection><selection>1</selection><name>nobody</name></PolicySelection>"
                  "<PolicyFilesMode>1</PolicyFilesMode>")
                  .value,
              3);
}

TEST_F(RpcPolicyFilesTest, ACallerWithoutTheRightLearnsNothingAndLeavesALineInTheAuditLog) {
    node.Install(Policy("a"));
    const FilesAnswer refused = Ask(Asking("1"), Sender::Nobody);
    EXPECT_EQ(refused.value, 8);
    EXPECT_EQ(refused.text,
              "Sender with id '' is not authorized to execute policy files operation. It needs the right 'list', for "
              "contents the right 'install' too.");
    EXPECT_TRUE(refused.package.IsEmpty());
    EXPECT_EQ(node.Audited("Audit: AUTH: Calling system '' is not authorized to call operation: 'policyFiles'."), 1);
}

TEST_F(RpcPolicyFilesTest, AKindThatIsNoneIsAFailure) {
    node.Install(Policy("a"));
    for (const char* kind : {"0", "3", "-1", "2147483647"}) {
        const FilesAnswer answer = Ask(Asking(kind));
        EXPECT_EQ(answer.value, 7) << kind;
        EXPECT_NE(answer.text.ToUtf8().find("There are no files of the kind '" + std::string(kind) + "'."),
                  std::string::npos);
        EXPECT_TRUE(answer.package.IsEmpty());
    }
}

TEST_F(RpcPolicyFilesTest, AMalformedRequestIsRefusedWithoutALineInTheAuditLog) {
    node.Install(Policy("a"));
    const std::string rows[] = {
        "",
        kAll,
        "<PolicyFilesMode>1</PolicyFilesMode>",
        Asking("all"),
        Asking(""),
        Asking("1") + "<PolicyFilesMode>1</PolicyFilesMode>",
    };
    for (const std::string& row : rows) {
        for (const Sender sender : {Sender::Administrator, Sender::Nobody}) {
            const FilesAnswer answer = Ask(row, sender);
            EXPECT_EQ(answer.value, 8) << row;
            EXPECT_TRUE(answer.package.IsEmpty()) << row;
        }
    }
    EXPECT_EQ(node.AuditText(), "");
}

}  // namespace
