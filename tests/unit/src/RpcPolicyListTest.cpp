#include "RpcPolicyList.h"

#include "ServerTest.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using Sender = NodeClient::Sender;

class RpcPolicyListTest : public ServerTest {
protected:
    static constexpr const char* kAll = "<PolicySelection><selection>8</selection><name/></PolicySelection>";
};

TEST_F(RpcPolicyListTest, TheSelectedPoliciesAreInTheAnswer) {
    TestPolicy policy = Policy("a");
    policy.name = "Größe";
    policy.owner = "operator";
    policy.attributes = {{"os", "linux"}};
    node.Install(policy);
    node.Install(Policy("b"));
    const Reply all = Client().List();
    EXPECT_EQ(all.value, 1);
    EXPECT_EQ(all.text, "List operation successful.");
    EXPECT_EQ(all.list.GetCount(), 2);
    const Reply one = Client().List(Selection().SetPolicyOwner("operator"));
    ASSERT_EQ(one.list.GetCount(), 1);
    EXPECT_EQ(one.list.GetPolicyHeader(0).GetName(), LumPalStr::String_t::FromUtf8("Größe"));
    EXPECT_EQ(node.Audited("INFO Success Audit: LIST: Policy list operation was successfully. Calling system: "
                           "'local administrator'"),
              2);
    EXPECT_EQ(log.Text(), "");
}

/// The ids of a list, each with the data files that came with it.
std::string Described(const PolicyContainer& list) {
    std::string text;
    for (int i = 0; i < list.GetCount(); ++i) {
        const PolicyHeader header = list.GetPolicyHeader(i);
        text += header.GetContainerId().ToUtf8() + ":";
        for (int j = 0; j < header.GetDataFileCount(); ++j) text += " " + header.GetDataFile(j).ToUtf8();
        text += ";";
    }
    return text;
}

TEST_F(RpcPolicyListTest, AListMayBeNarrowedToThosePoliciesThatNameADataFile) {
    const auto install = [this](const char* id, const char* type,
                                std::vector<std::pair<std::string, std::string>> data) {
        TestPolicy policy = Policy(id, type);
        policy.data = std::move(data);
        node.Install(policy);
    };
    install("a", "files", {{"x", ""}, {"y", ""}, {"z", ""}});
    install("b", "files", {{"y", ""}});
    install("c", "files", {});
    install("d", "other", {{"x", ""}});
    struct Row {
        const char *selection, *files;
        int value;
        const char* listed;
    };
    const Row rows[] = {
        {"2</selection><name>files", "<policy_data_file>x</policy_data_file>", 1, "a: x;"},
        {"2</selection><name>files", "<policy_data_file>y</policy_data_file><policy_data_file>x</policy_data_file>", 1,
         "a: x y;b: y;"},
        {"8</selection><name>", "<policy_data_file>x</policy_data_file>", 1, "a: x;d: x;"},
        {"0</selection><name>b", "<policy_data_file>x</policy_data_file>", 1, ""},
        {"2</selection><name>files", "<policy_data_file>nobody's</policy_data_file>", 3, ""},
        {"2</selection><name>files", "<policy_data_file/>", 3, ""},
        {"2</selection><name>files", "<new/>", 1, "a:;b:;c:;"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.selection) + row.files);
        const Reply reply = Client().PostCall("list", "<PolicySelection><selection>" + std::string(row.selection) +
                                                          "</name></PolicySelection><PolicyDataFiles>" + row.files +
                                                          "</PolicyDataFiles>");
        EXPECT_EQ(reply.value, row.value) << reply.text;
        EXPECT_EQ(Described(reply.list), row.listed);
    }
    EXPECT_EQ(Described(Client().List().list), "a:;b:;c:;d:;");
    const Reply refused = Client().PostCall(
        "list", kAll + std::string("<PolicyDataFiles><policy_data_file>x</policy_data_file></PolicyDataFiles>"),
        Sender::Nobody);
    EXPECT_EQ(refused.value, 8);
    EXPECT_EQ(refused.list.GetCount(), 0);
}

TEST_F(RpcPolicyListTest, AnEmptyStoreIsItsOwnOutcomeWithAnEmptyList) {
    const Reply reply = Client().List();
    EXPECT_EQ(reply.value, 2);
    EXPECT_EQ(reply.text, "WARNING: No policies are installed.");
    EXPECT_TRUE(reply.hasList);
    EXPECT_EQ(reply.list.GetCount(), 0);
}

TEST_F(RpcPolicyListTest, ASelectionThatFindsNothingHasAnEmptyList) {
    node.Install(Policy("a"));
    const Reply reply = Client().List(Selection().SetPolicyName("nobody"));
    EXPECT_EQ(reply.value, 3);
    EXPECT_EQ(reply.text, "WARNING: No policy files found for list operation.");
    EXPECT_TRUE(reply.hasList);
    EXPECT_EQ(reply.list.GetCount(), 0);
}

TEST_F(RpcPolicyListTest, ASenderWithoutTheRightGetsAnEmptyListAndALineInTheAuditLog) {
    node.Install(Policy("a"));
    const Reply reply = Client().PostCall("list", kAll, Sender::Nobody);
    EXPECT_EQ(reply.value, 8);
    EXPECT_EQ(reply.text, "Sender with id '' is not authorized to execute policy list operation.");
    EXPECT_TRUE(reply.hasList);
    EXPECT_EQ(reply.list.GetCount(), 0);
    EXPECT_EQ(node.Audited("Audit:"), 1);
    EXPECT_EQ(node.Audited("Failure Audit: AUTH: Calling system '' is not authorized to call operation: 'list'."), 1);
}

TEST_F(RpcPolicyListTest, AMalformedRequestIsRefusedWithAnEmptyListAndNoLineInTheAuditLog) {
    node.Install(Policy("a"));
    const std::string rows[] = {
        "",
        "<Selection><selection>8</selection></Selection>",
        "<PolicySelection><selection>all</selection></PolicySelection>",
        "<PolicySelection><selection/></PolicySelection>",
        std::string(kAll) + kAll,
    };
    for (const std::string& row : rows) {
        const Reply reply = Client().PostCall("list", row);
        EXPECT_EQ(reply.value, 8) << row;
        EXPECT_EQ(reply.text,
                  "Sender with id 'local administrator' is not authorized to execute policy list operation.")
            << row;
        EXPECT_TRUE(reply.hasList) << row;
        EXPECT_EQ(reply.list.GetCount(), 0) << row;
        const Reply nobodys = Client().PostCall("list", row, Sender::Nobody);
        EXPECT_EQ(nobodys.value, 8) << row;
        EXPECT_EQ(nobodys.text, "Sender with id '' is not authorized to execute policy list operation.") << row;
        EXPECT_TRUE(nobodys.hasList) << row;
        EXPECT_EQ(nobodys.list.GetCount(), 0) << row;
    }
    EXPECT_EQ(node.AuditText(), "");
    EXPECT_TRUE(log.Holds("List operation was not successful."));
}

TEST_F(RpcPolicyListTest, TheStartOfACallIsTracedWithItsSenderAndNotLogged) {
    TraceLines traced;
    Client().List();
    EXPECT_TRUE(traced.Contains("Starting 'policy list' request from host 'local administrator'."));
    Client().PostCall("list", kAll, Sender::Nobody);
    EXPECT_TRUE(traced.Contains("Starting 'policy list' request from host ''."));
    EXPECT_TRUE(traced.Contains("list is refused to ''"));
    EXPECT_EQ(log.Text(), "");
}

TEST_F(RpcPolicyListTest, AnEnvelopeThatIsCutOrNoXmlIsAFaultOfTheClient) {
    const std::string good = NodeClient::Envelope(std::string("<list>") + kAll + "</list>");
    EXPECT_EQ(Client().Post(good).status, 200);
    for (std::size_t length : {std::size_t(0), std::size_t(1), std::size_t(40)}) {
        const RawAnswer answer = Client().Post(good.substr(0, length));
        EXPECT_NE(answer.status, 200) << length;
        EXPECT_NE(answer.body.find("Fault"), std::string::npos) << length;
    }
    // The method is known by then: its handler answers.
    const RawAnswer cut = Client().Post(good.substr(0, good.size() - 20));
    EXPECT_EQ(cut.status, 200);
    EXPECT_NE(cut.body.find(">8<"), std::string::npos) << cut.body;
}

}  // namespace
