#include "Authorization.h"

#include <atomic>
#include <thread>

#include "LumSecAuth.h"
#include "OperationRows.h"
#include "ReturnValue.h"
#include "Senders.h"

namespace {

using namespace LumConf;

class AuthorizationTest : public testing::Test {
protected:
    ProcessNode& node = ProcessNode::Fresh();
    Authorization& authorization = Authorization::GetInstance();
};

TEST_F(AuthorizationTest, TheProcessHasOneOfItAndOneAuditLog) {
    EXPECT_EQ(&Authorization::GetInstance(), &authorization);
    EXPECT_EQ(&AuditLog::GetInstance(), &AuditLog::GetInstance());
}

TEST_F(AuthorizationTest, OnlyTheDomainOfTheConfigurationCounts) {
    WriteText(node.Root() + "/etc/authorization.ini", "[other]\na=all\n[conf]\nb=list\n[conf.core]\nc=all\n");
    authorization.Update();
    EXPECT_FALSE(authorization.IsAuthorized("a", RightList));
    EXPECT_TRUE(authorization.IsAuthorized("b", RightList));
    EXPECT_FALSE(authorization.IsAuthorized("c", RightList));
}

TEST_F(AuthorizationTest, NobodyHoldsNothing) {
    node.Grant("=all");
    for (unsigned right : {1u, 2u, 4u, 8u, 16u, 32u, 64u, 128u, 256u, 0u}) {
        EXPECT_FALSE(authorization.IsAuthorized("", right)) << right;
        EXPECT_FALSE(authorization.IsAuthorized("stranger", right)) << right;
    }
}

TEST_F(AuthorizationTest, TheNodesAdministratorHoldsEveryRightButSigningAndItsBareNameNone) {
    for (unsigned right : {1u, 2u, 4u, 8u, 16u, 32u, 64u, 128u}) {
        EXPECT_TRUE(authorization.IsAuthorized(LumSecAuth::LocalAdministrator(), right)) << right;
        EXPECT_FALSE(authorization.IsAuthorized("node-1", right)) << right;
    }
    EXPECT_FALSE(authorization.IsAuthorized(LumSecAuth::LocalAdministrator(), 256u));
}

TEST_F(AuthorizationTest, SeveralRightsAreHeldOnlyTogether) {
    node.Grant("a=list remove");
    EXPECT_TRUE(authorization.IsAuthorized("a", RightList | RightRemove));
    EXPECT_FALSE(authorization.IsAuthorized("a", RightList | RightModify));
}

TEST_F(AuthorizationTest, ASenderIsComparedExactly) {
    node.Grant("Host=list");
    for (const char* sender : {"host", "Host ", " Host", "Hos", "Host2"}) {
        EXPECT_FALSE(authorization.IsAuthorized(sender, RightList)) << sender;
    }
}

TEST_F(AuthorizationTest, ManyMayAskWhileTheRightsAreTakenUpAnew) {
    node.Grant("a=list");
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> askers;
    for (int i = 0; i < 3; ++i) {
        askers.emplace_back([&] {
            while (!stop) {
                if (!authorization.IsAuthorized("a", RightList) || authorization.IsAuthorized("a", RightRemove))
                    ++wrong;
            }
        });
    }
    for (int i = 0; i < 50; ++i) authorization.Update();
    stop = true;
    for (std::thread& asker : askers) asker.join();
    EXPECT_EQ(wrong, 0);
}

struct SenderRow {
    const char* sender;
    unsigned right;
};
const SenderRow kSenders[] = {{"one", 1},      {"two", 2},        {"four", 4},       {"eight", 8},
                              {"sixteen", 16}, {"thirtytwo", 32}, {"sixtyfour", 64}, {"onetwentyeight", 128},
                              {"none", 0},     {"stranger", 0}};

TEST_F(SendersTest, EachOperationIsOpenToItsRightAlone) {
    TestPolicy policy;
    node.Install(policy);
    node.ForgetQueue();
    const Selection none = Selection().SetPolicyName("nobody");
    for (const SenderRow& row : kSenders) {
        for (const OperationRow& operation : kOperations) {
            const Reply reply = As(row.sender).Operate(operation.mode, none, false, operation.text);
            EXPECT_EQ(reply.value != 8, row.right == operation.right)
                << row.sender << " " << operation.name << ": " << reply.value << " " << reply.text;
        }
        EXPECT_EQ(As(row.sender).List(none).value != 8, row.right == 16) << row.sender;
        EXPECT_EQ(As(row.sender).Install(policy.Array()).value != 8, row.right == 1) << row.sender;
    }
}

TEST_F(SendersTest, TheNodeItselfMayDoEverythingAndIsNamed) {
    const Selection none = Selection().SetPolicyName("nobody");
    NodeClient& itself = AsTheNode();
    for (const OperationRow& operation : kOperations) {
        EXPECT_NE(itself.Operate(operation.mode, none, false, operation.text).value, 8) << operation.name;
    }
    EXPECT_NE(itself.List(none).value, 8);
    EXPECT_EQ(itself.Install(TestPolicy().Array()).value, 1);
    EXPECT_EQ(node.Audited("was successfully installed. Calling system: 'node-1'"), 1) << node.AuditText();
}

TEST_F(SendersTest, WhoBearsTheNodesNameWithAnotherKeyIsNobody) {
    node.Grant("node-1=all");
    InstallIdentity("namesake", authority.Issue("node-1", kNames));
    NodeClient namesake(server.GetPort(), "https");
    for (const OperationRow& operation : kOperations) {
        EXPECT_EQ(namesake.Operate(operation.mode).value, 8) << operation.name;
    }
    const Reply reply = namesake.List();
    EXPECT_EQ(reply.value, 8);
    EXPECT_EQ(reply.text, "Sender with id '' is not authorized to execute policy list operation.");
}

TEST_F(SendersTest, WhoeverTheNodeIsRenamedAfterHoldsNothingMore) {
    for (const char* name : {"stranger", "onetwentyeight"}) {
        As(name);  // this client, and the configuration that it shares with the node, bear the name now
        ASSERT_EQ(LumPalConfig::ConfigNamespace_t("sec.core").Open().GetValue("CORE_ID"), name);
        Authorization::GetInstance().Update();
        EXPECT_EQ(As(name).List().value, 8) << name;
        EXPECT_EQ(As(name).Install(TestPolicy().Array()).value, 8) << name;
    }
}

TEST_F(SendersTest, ARefusedSenderIsNamedInTheAnswerAndInTheAuditLog) {
    const Reply reply = As("stranger").List();
    EXPECT_EQ(reply.value, 8);
    EXPECT_EQ(reply.text, "Sender with id 'stranger' is not authorized to execute policy list operation.");
    EXPECT_EQ(node.Audited("AUTH: Calling system 'stranger' is not authorized to call operation: 'list'."), 1);
}

TEST_F(SendersTest, WhoMayOnlyModifyChangesOwnersAndTheCacheAndNothingElse) {
    TestPolicy policy;
    node.Install(policy);
    EXPECT_EQ(As("thirtytwo").Operate(5, Selection(), false, "somebody").value, 1);
    EXPECT_EQ(As("thirtytwo").Operate(15).value, 1);
    for (int mode : {4, 3, 2, 13}) EXPECT_EQ(As("thirtytwo").Operate(mode).value, 8) << mode;
    EXPECT_EQ(As("thirtytwo").List().value, 8);
    EXPECT_EQ(As("thirtytwo").Install(policy.Array()).value, 8);
}

TEST_F(SendersTest, WhoMayOnlyInstallMayNotifyToo) {
    EXPECT_EQ(As("one").Install(TestPolicy().Array()).value, 1);
    node.ForgetQueue();
    EXPECT_EQ(As("one").Operate(13).value, 1);
    EXPECT_EQ(As("one").List().value, 8);
    EXPECT_EQ(node.Audited("was successfully installed. Calling system: 'one'"), 1);
}

TEST_F(SendersTest, ARightThatIsTakenBackIsGoneAfterTheNextUpdate) {
    node.Install(TestPolicy());
    EXPECT_EQ(As("sixteen").List().value, 1);
    Configure("sec.core", "CORE_ID", "node-1");
    node.Grant("sixteen=1");
    EXPECT_EQ(As("sixteen").List().value, 8);
}

TEST_F(SendersTest, OverTlsThereIsNoSecretOfTheLocalRoad) {
    EXPECT_FALSE(std::filesystem::exists(node.Root() + "/etc/local.secret"));
}

}  // namespace
