#include "RpcPolicyOp.h"

#include "Consumer.h"
#include "OperationRows.h"
#include "ServerTest.h"

namespace {

using namespace LumConf;
using Sender = NodeClient::Sender;

const char* const kRefused = "Sender with id 'local administrator' is not authorized to execute policy operation.";
const char* const kNobodyRefused = "Sender with id '' is not authorized to execute policy operation.";

std::string Arguments(
    const std::string& mode, const std::string& string = "<PolicyString1/>",
    const std::string& selection = "<PolicySelection><selection>8</selection><name/></PolicySelection>",
    const std::string& options = "<PolicyOptions><notify>false</notify></PolicyOptions>") {
    return "<PolicyOperationMode>" + mode + "</PolicyOperationMode>" + string + selection + options;
}

class RpcPolicyOpTest : public ServerTest {};

class RpcPolicyOpRows : public RpcPolicyOpTest, public testing::WithParamInterface<OperationRow> {
protected:
    void SetUp() override {
        TestPolicy enabled = Policy("a");
        enabled.categories = {"net"};
        enabled.attributes = {{"os", "linux"}};
        TestPolicy disabled = Policy("d");
        disabled.status = "disabled";
        node.Install(enabled);
        node.Install(disabled);
        node.ForgetQueue();
        before = Store();
    }
    /// Names and contents of all files of the store.
    std::string Store() const {
        std::string all;
        for (const char* id : {"a", "d"}) all += ReadText(node.InstallFolder() + "/files/" + id + "_header.xml") + ";";
        return all;
    }
    std::string before;
};

TEST_P(RpcPolicyOpRows, ASenderWithoutTheRightIsRefusedAndTheAuditLogNamesTheOperation) {
    const Reply reply = Client().PostCall("policyOp", Arguments(std::to_string(GetParam().mode)), Sender::Nobody);
    EXPECT_EQ(reply.value, 8);
    EXPECT_EQ(reply.text, kNobodyRefused);
    EXPECT_EQ(node.Audited("Audit:"), 1);
    EXPECT_EQ(node.Audited("WARNING Failure Audit: AUTH: Calling system '' is not authorized to call operation: '" +
                           std::string(GetParam().name) + "'."),
              1);
    EXPECT_EQ(Store(), before);
}

TEST_P(RpcPolicyOpRows, ASenderWithTheRightChangesTheSelectedPolicyAndHearsOfIt) {
    const Reply reply = Client().Operate(GetParam().mode, ById(GetParam().id), false, GetParam().text);
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, GetParam().answer);
    EXPECT_EQ(Store() == before, GetParam().right == 1 || GetParam().mode == 15);
    // A change of the owner leaves no line on success.
    const std::string audit = GetParam().audit ? GetParam().audit : "";
    EXPECT_EQ(node.Audited("Success Audit: " + audit), GetParam().audit ? 1 : 0) << node.AuditText();
    EXPECT_EQ(node.Audited("Calling system: 'local administrator'"), GetParam().audit ? 1 : 0) << node.AuditText();
    EXPECT_EQ(log.Text(), "");
}

/// What the row's change tells its consumers.
std::string ToldBy(const OperationRow& row) {
    return row.told ? std::string(row.told) + ":files=" + row.id : std::string();
}
constexpr std::initializer_list<const char*> kChanges = {"CHECK_POLICY:*", "ENABLE_POLICY:*", "DISABLE_POLICY:*",
                                                         "REMOVE_POLICY:*"};

TEST_P(RpcPolicyOpRows, ItsConsumersHearOfTheChange) {
    LumCtrl::Service service;
    service.Start();
    Consumer consumer("consumer", kChanges);
    EXPECT_EQ(Client().Operate(GetParam().mode, ById(GetParam().id), true, GetParam().text).value, 1);
    EXPECT_EQ(consumer.Heard(), ToldBy(GetParam()));
}

TEST_P(RpcPolicyOpRows, WhenTheCallerWishesSoItsConsumersHearOfTheChangeOnlyWithTheNextNotify) {
    LumCtrl::Service service;
    service.Start();
    Consumer consumer("consumer", kChanges);
    EXPECT_EQ(Client().Operate(GetParam().mode, ById(GetParam().id), false, GetParam().text).value, 1);
    EXPECT_EQ(consumer.Heard(), "");
    EXPECT_EQ(Client().Operate(13).value, 1);
    EXPECT_EQ(consumer.Heard(), ToldBy(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Modes, RpcPolicyOpRows, testing::ValuesIn(kOperations),
                         [](const auto& row) { return std::to_string(row.param.mode); });

TEST_F(RpcPolicyOpTest, ANumberThatIsNoOperationIsRefusedWithoutALineInTheAuditLog) {
    for (int mode : {12, 0, 1, 14, 16, 255, -1, -2147483647 - 1, 2147483647}) {
        const Reply reply = Client().Operate(mode);
        EXPECT_EQ(reply.value, 8) << mode;
        EXPECT_EQ(reply.text, kRefused) << mode;
        const Reply nobodys = Client().PostCall("policyOp", Arguments(std::to_string(mode)), Sender::Nobody);
        EXPECT_EQ(nobodys.value, 8) << mode;
        EXPECT_EQ(nobodys.text, kNobodyRefused) << mode;
    }
    EXPECT_EQ(node.AuditText(), "");
    EXPECT_EQ(log.Text(), "");
}

struct MalformedRow {
    const char* what;
    std::string elements;
};

const MalformedRow kMalformed[] = {
    {"nothing", ""},
    {"no mode", "<PolicyString1/><PolicySelection/><PolicyOptions/>"},
    {"no string", Arguments("4", "")},
    {"no selection", Arguments("4", "<PolicyString1/>", "")},
    {"no options", Arguments("4", "<PolicyString1/>", "<PolicySelection/>", "")},
    {"a mode in words", Arguments("remove")},
    {"an empty mode", Arguments("")},
    {"a mode beyond 32 bits", Arguments("4294967300")},
    {"an element in the mode", Arguments("<four/>4")},
    {"a mode twice", Arguments("4") + "<PolicyOperationMode>15</PolicyOperationMode>"},
    {"an element in the string", Arguments("4", "<PolicyString1><b/></PolicyString1>")},
    {"a selection in words",
     Arguments("4", "<PolicyString1/>", "<PolicySelection><selection>all</selection></PolicySelection>")},
    {"a notify that is no boolean", Arguments("4", "<PolicyString1/>", "<PolicySelection/>",
                                              "<PolicyOptions><notify>perhaps</notify></PolicyOptions>")},
    {"words of a repairable failure", Arguments("4", "<PolicyString1/>",
                                                "<PolicySelection><selection>Cannot delete policy</selection>"
                                                "</PolicySelection>")},
};

TEST_F(RpcPolicyOpTest, AMalformedRequestIsRefusedAndNotCalledAFailure) {
    node.Install(Policy("a"));
    for (const MalformedRow& row : kMalformed) {
        const Reply reply = Client().PostCall("policyOp", row.elements);
        EXPECT_EQ(reply.value, 8) << row.what;
        EXPECT_EQ(reply.text, kRefused) << row.what;
        const Reply nobodys = Client().PostCall("policyOp", row.elements, Sender::Nobody);
        EXPECT_EQ(nobodys.value, 8) << row.what;
        EXPECT_EQ(nobodys.text, kNobodyRefused) << row.what;
    }
    EXPECT_EQ(node.AuditText(), "") << "the right was never asked for";
    EXPECT_TRUE(log.Holds("Unknown error while policy operation."));
    EXPECT_TRUE(IsInstalled("a"));
    EXPECT_EQ(Client().Operate(4, ById("a")).value, 1) << "a good request after the bad ones";
}

TEST_F(RpcPolicyOpTest, ARefusalNamesTheOperationWhereverItsNumberStands) {
    const std::string rest =
        "<PolicyOptions/><PolicySelection/><PolicyString1>" + std::string(1 << 20, 'x') + "</PolicyString1>";
    const std::string mode = "<PolicyOperationMode>15</PolicyOperationMode>";
    for (const std::string& elements : {mode + rest, rest + mode}) {
        EXPECT_EQ(Client().PostCall("policyOp", elements, Sender::Nobody).text, kNobodyRefused);
    }
    EXPECT_EQ(node.Audited("AUTH: Calling system '' is not authorized to call operation: 'reinit cache'."), 2);
}

TEST_F(RpcPolicyOpTest, AnAnswerHasAValueAndATextAndNoList) {
    EXPECT_FALSE(Client().Operate(15).hasList);
    const RawAnswer answer = Client().Post(NodeClient::Envelope("<policyOp>" + Arguments("15") + "</policyOp>"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.body.find("policyOpResponse"), std::string::npos);
    EXPECT_NE(answer.body.find("xsd:int"), std::string::npos) << answer.body;
    EXPECT_NE(answer.body.find("xsd:string"), std::string::npos) << answer.body;
}

TEST_F(RpcPolicyOpTest, ARemoveTakesTheSelectedPolicies) {
    node.Install(Policy("a"));
    node.Install(Policy("b"));
    const Reply reply = Client().Operate(4, ById("a"));
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, "Remove operation successful.");
    EXPECT_FALSE(IsInstalled("a"));
    EXPECT_TRUE(IsInstalled("b"));
    EXPECT_EQ(node.Audited("REMOVE: Policy (name: 'name of a', id: 'a') was successfully removed. Calling system: "
                           "'local administrator'"),
              1);
}

TEST_F(RpcPolicyOpTest, AnEmptyStoreIsItsOwnOutcome) {
    const Reply reply = Client().Operate(4);
    EXPECT_EQ(reply.value, 2);
    EXPECT_EQ(reply.text, "WARNING: No policies are installed.");
}

TEST_F(RpcPolicyOpTest, ARemoveThatSelectsNothingFindsNothing) {
    node.Install(Policy("a"));
    const Reply byName = Client().Operate(4, Selection().SetPolicyName("nobody"));
    EXPECT_EQ(byName.value, 3);
    EXPECT_EQ(byName.text, "WARNING: No policy files found for removing.");
    const Reply byId = Client().Operate(4, ById("b"));
    EXPECT_EQ(byId.value, 3);
    EXPECT_EQ(byId.text, "ERROR: Could not access policy with id 'b' in local cache.");
    EXPECT_TRUE(IsInstalled("a"));
}

TEST_F(RpcPolicyOpTest, AStatusThatIsSetAlreadyIsNothingToDo) {
    node.Install(Policy("a"));
    const Reply reply = Client().Operate(3, ById("a"));
    EXPECT_EQ(reply.value, 4);
    EXPECT_EQ(reply.text, "WARNING: Policies already have the right status set.");
}

TEST_F(RpcPolicyOpTest, ARemoveWithoutItsHeaderFileIsASuccessAndThePolicyIsGone) {
    node.Install(Policy("a"));
    std::filesystem::remove(node.InstallFolder() + "/files/a_header.xml");
    const Reply reply = Client().Operate(4, ById("a"));
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, "Remove operation successful.");
    EXPECT_FALSE(node->IsPolicyInstalled());
    EXPECT_EQ(node.Audited("REINIT: Policy cache successfully re-initialized. Calling system: 'local administrator'"),
              1);
    EXPECT_TRUE(log.Holds("Unknown error while policy operation.")) << "the log still says what was wrong";
    EXPECT_TRUE(log.Holds("Cannot delete policy header file"));
}

TEST_F(RpcPolicyOpTest, ARemoveWithoutADataFileIsASuccessAndThePolicyIsGone) {
    TestPolicy policy = Policy("a");
    policy.data = {{"a.dat", "1"}, {"b.dat", "2"}};
    node.Install(policy);
    std::filesystem::remove(node.InstallFolder() + "/files/a.dat");
    EXPECT_EQ(Client().Operate(4, ById("a")).value, 1);
    EXPECT_FALSE(node->IsPolicyInstalled());
    EXPECT_FALSE(std::filesystem::exists(node.InstallFolder() + "/files/b.dat"));
}

TEST_F(RpcPolicyOpTest, ARemoveOfAFileThatCannotBeDeletedIsASuccessAndTheCacheFollowsTheDisk) {
    node.Install(Policy("a"));
    node.Install(Policy("b"));
    const std::string header = node.InstallFolder() + "/files/a_header.xml";
    std::filesystem::remove(header);
    std::filesystem::create_directories(header + "/not empty");
    EXPECT_EQ(Client().Operate(4, ById("a")).value, 1);
    EXPECT_EQ(Client().List().list.GetCount(), 1) << "a folder is no policy";
}

TEST_F(RpcPolicyOpTest, AFailureWithoutAValueOfItsOwnIsSentWithItsDetailsAndLogged) {
    node.Install(Policy("a"));
    const Reply reply = Client().Operate(9, ById("a"), false, "");
    EXPECT_EQ(reply.value, 7);
    EXPECT_EQ(reply.text,
              "Unknown error while policy operation.\n"
              "  Parameter for policy attribute is empty or <NULL> which is not allowed.");
    EXPECT_TRUE(log.Holds("Unknown error while policy operation."));
}

TEST_F(RpcPolicyOpTest, AnotherOperationThatMissesItsFileFailsAndLeavesTheCache) {
    node.Install(Policy("a"));
    std::filesystem::remove(node.InstallFolder() + "/files/a_header.xml");
    EXPECT_EQ(Client().Operate(5, ById("a"), false, "somebody").value, 7);
    EXPECT_TRUE(node->IsPolicyInstalled()) << "the cache was not made anew";
}

TEST_F(RpcPolicyOpTest, AnUnknownKindOfSelectionMeansAllPolicies) {
    node.Install(Policy("a"));
    node.Install(Policy("b"));
    EXPECT_EQ(Client()
                  .PostCall("policyOp", Arguments("2", "<PolicyString1/>",
                                                  "<PolicySelection><selection>99</selection><name>x</name>"
                                                  "</PolicySelection>"))
                  .value,
              1);
    EXPECT_EQ(Client().Operate(2).value, 4) << "both are disabled";
}

TEST_F(RpcPolicyOpTest, ANotifyWithNothingQueuedIsASuccess) {
    const Reply reply = Client().Operate(13);
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, "Notification operation successful.");
    EXPECT_EQ(node.Audited("NOTIFY: Notification trigger was successfully sent. Calling system: "
                           "'local administrator'"),
              1);
}

TEST_F(RpcPolicyOpTest, ANotifyThatReachesNobodyIsAFailureOfTheControlService) {
    node.Install(Policy("a"));
    const Reply reply = Client().Operate(13);
    EXPECT_EQ(reply.value, 9);
    EXPECT_TRUE(reply.text.starts_with("WARNING: Not all policy notification(s) could be sent to control service.\n  "))
        << reply.text;
    EXPECT_EQ(node.Audited("NOTIFY: Notification trigger could not be sent."), 1);
    EXPECT_EQ(Client().Operate(13).value, 1) << "a failed trigger is not repeated";
}

TEST_F(RpcPolicyOpTest, ANotifyTellsWhatAnUntoldInstallHasQueued) {
    LumCtrl::Service service;
    service.Start();
    Consumer consumer("consumer", {"CHECK_POLICY:*", "FIRST_POLICY:*"});
    node.Install(Policy("a"));
    EXPECT_EQ(Client().Operate(13).value, 1);
    EXPECT_EQ(consumer.Heard(), "FIRST_POLICY:files=; CHECK_POLICY:files=a");
}

TEST_F(RpcPolicyOpTest, AReinitTakesUpWhatIsOnDisk) {
    TestPolicy policy = Policy("a");
    policy.WriteFiles(node.InstallFolder() + "/files");
    const Reply reply = Client().Operate(15);
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, "Reinitialize cache operation successful.");
    EXPECT_TRUE(node->IsPolicyInstalled());
}

TEST_F(RpcPolicyOpTest, AReinitThatMeetsBrokenFilesIsStillASuccess) {
    WriteText(node.InstallFolder() + "/files/a_header.xml", "<header>");
    EXPECT_EQ(Client().Operate(15).value, 1);
    EXPECT_EQ(node.Audited("REINIT: Policy cache could not be re-initialized."), 1);
}

}  // namespace
