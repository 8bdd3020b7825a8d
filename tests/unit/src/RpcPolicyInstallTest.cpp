#include "RpcPolicyInstall.h"

#include "Consumer.h"
#include "ServerTest.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using Sender = NodeClient::Sender;

const char* const kRefused =
    "Sender with id 'local administrator' is not authorized to execute policy install operation.";
const char* const kNobodyRefused = "Sender with id '' is not authorized to execute policy install operation.";

class RpcPolicyInstallTest : public ServerTest {
protected:
    static InstallOptions Untold() {
        InstallOptions options;
        return options.SetNotify(false);
    }
    static std::string Arguments(const std::string& method, const std::string& data = "",
                                 const std::string& options = "<PolicyInstallOptions/>") {
        return "<PolicyInstallFilename>a_header.xml</PolicyInstallFilename><PolicyByteArrayName>" + data +
               "</PolicyByteArrayName>" + options + "<PolicyInstallMethod>" + method + "</PolicyInstallMethod>";
    }
};

TEST_F(RpcPolicyInstallTest, AnInstalledPolicyIsNamedByItsFile) {
    const Reply reply = Client().Install(Policy("a").Array(), 1, Untold(), "größe_header.xml");
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, "Installation of policy file 'größe_header.xml' successful.");
    EXPECT_FALSE(reply.hasList);
    EXPECT_TRUE(IsInstalled("a"));
    EXPECT_EQ(node.Audited("INSTALL: Policy (name: 'name of a', id: 'a') was successfully installed. Calling system: "
                           "'local administrator'"),
              1);
}

TEST_F(RpcPolicyInstallTest, TheNameOfTheFileIsNoPlaceOnDisk) {
    for (const char* name : {"", "..", "../../../etc/authorization.ini", "/tmp/lumtest-nowhere", "a/b\\c"}) {
        EXPECT_EQ(Client().Install(Policy("a").Array(), 1, Untold(), name).value, 1) << name;
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/lumtest-nowhere"));
    EXPECT_FALSE(std::filesystem::exists(node.Root() + "/etc/authorization.ini"));
    EXPECT_TRUE(std::filesystem::is_empty(node.IncomingFolder()));
}

TEST_F(RpcPolicyInstallTest, AnAnswerDoesNotGrowWithTheNameOfTheFile) {
    const std::string name(100000, 'x');
    const Reply done = Client().Install(Policy("a").Array(), 1, Untold(), name.c_str());
    EXPECT_EQ(done.value, 1);
    EXPECT_LT(done.text.size(), 2000u);
    const Reply failed = Client().Install(LumPalArray::CharArray_t("abc", 3), 1, Untold(), name.c_str());
    EXPECT_EQ(failed.value, 7);
    EXPECT_LT(failed.text.size(), 2000u);
    EXPECT_NE(failed.text.find("xxx...'."), std::string::npos) << failed.text;
}

TEST_F(RpcPolicyInstallTest, APackageIsInstalledWhole) {
    const Reply reply = Client().Install(PackageOf({Policy("a"), Policy("b")}), 2);
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, "Installation of policy package successful.");
    EXPECT_TRUE(IsInstalled("a") && IsInstalled("b"));
    EXPECT_EQ(node.Audited("was successfully installed. Calling system: 'local administrator'"), 2) << node.AuditText();
    EXPECT_EQ(node.Audited("Calling system: '"), node.Audited("Calling system: 'local administrator'"));
}

TEST_F(RpcPolicyInstallTest, AnUnknownMethodIsAFailureThatSaysSo) {
    for (int method : {3, 0, -1, 2147483647}) {
        const Reply reply = Client().Install(Policy("a").Array(), method);
        EXPECT_EQ(reply.value, 7) << method;
        EXPECT_EQ(reply.text, "Installing policy package generated errors.\n  Unknown installation method.") << method;
    }
    EXPECT_FALSE(IsInstalled("a"));
    EXPECT_TRUE(log.Holds("Installing policy package generated errors."));
    EXPECT_TRUE(log.Holds("Unknown installation method."));
}

TEST_F(RpcPolicyInstallTest, ASenderWithoutTheRightIsRefusedAndTheAuditLogSaysInstall) {
    const Reply reply = Client().PostCall("install", Arguments("1"), Sender::Nobody);
    EXPECT_EQ(reply.value, 8);
    EXPECT_EQ(reply.text, kNobodyRefused);
    EXPECT_EQ(node.Audited("Audit:"), 1);
    EXPECT_EQ(node.Audited("WARNING Failure Audit: AUTH: Calling system '' is not authorized to call operation: "
                           "'install'."),
              1);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(RpcPolicyInstallTest, ASecretThatIsWrongIsNone) {
    WriteText(node.Root() + "/etc/local.secret", std::string(64, '0'));
    EXPECT_EQ(Client().PostCall("install", Arguments("1")).value, 8);
    EXPECT_EQ(node.Audited("AUTH: Calling system ''"), 1);
}

TEST_F(RpcPolicyInstallTest, AMalformedRequestIsRefusedWithoutALineInTheAuditLog) {
    const std::string rows[] = {
        "",
        "<PolicyInstallFilename/><PolicyByteArrayName/><PolicyInstallOptions/>",
        "<PolicyInstallFilename/><PolicyByteArrayName/><PolicyInstallMethod>1</PolicyInstallMethod>",
        "<PolicyInstallFilename/><PolicyInstallOptions/><PolicyInstallMethod>1</PolicyInstallMethod>",
        "<PolicyByteArrayName/><PolicyInstallOptions/><PolicyInstallMethod>1</PolicyInstallMethod>",
        Arguments("one"),
        Arguments(""),
        Arguments("1", "no base64!"),
        Arguments("1", "AAAA", "<PolicyInstallOptions><notify>2</notify></PolicyInstallOptions>"),
        Arguments("1", "AAAA", "<PolicyInstallOptions><status>x</status></PolicyInstallOptions>"),
        Arguments("1") + "<PolicyInstallMethod>1</PolicyInstallMethod>",
    };
    for (const std::string& row : rows) {
        const Reply reply = Client().PostCall("install", row);
        EXPECT_EQ(reply.value, 8) << row;
        EXPECT_EQ(reply.text, kRefused) << row;
        const Reply nobodys = Client().PostCall("install", row, Sender::Nobody);
        EXPECT_EQ(nobodys.value, 8) << row;
        EXPECT_EQ(nobodys.text, kNobodyRefused) << row;
    }
    EXPECT_EQ(node.AuditText(), "");
    EXPECT_TRUE(log.Holds("Installing policy package generated errors."));
    EXPECT_EQ(Client().Install(Policy("a").Array()).value, 1) << "a good request after the bad ones";
}

TEST_F(RpcPolicyInstallTest, AnotherOwnerAndNoHigherVersionAreOutcomesOfTheirOwn) {
    TestPolicy policy = Policy("a");
    policy.owner = "one";
    node.Install(policy);
    policy.owner = "two";
    const Reply owner = Client().Install(policy.Array());
    EXPECT_EQ(owner.value, 5);
    EXPECT_TRUE(owner.text.starts_with("ERROR: ")) << owner.text;
    policy.owner = "one";
    const Reply version = Client().Install(policy.Array(), 1, Untold().SetCheckVersion(true));
    EXPECT_EQ(version.value, 6);
    EXPECT_TRUE(version.text.starts_with("ERROR: ")) << version.text;
    EXPECT_EQ(log.Text(), "") << "these are no failures of the node";
}

TEST_F(RpcPolicyInstallTest, AFailureOfAPolicyNamesItsFileWithItsPathAndIsLogged) {
    const Reply reply = Client().Install(LumPalArray::CharArray_t("abc", 3));
    EXPECT_EQ(reply.value, 7);
    const std::string start = "Could not install policy file '" + node.IncomingFolder() + "/p1_header.xml'.\n  ";
    EXPECT_TRUE(reply.text.starts_with(start)) << reply.text;
    EXPECT_TRUE(log.Holds("Could not install policy file '"));
}

TEST_F(RpcPolicyInstallTest, AFailureOfAPackageNamesNoFile) {
    const Reply reply = Client().Install(LumPalArray::CharArray_t("abc", 3), 2);
    EXPECT_EQ(reply.value, 7);
    EXPECT_TRUE(reply.text.starts_with("Installing policy package generated errors.\n  ")) << reply.text;
}

TEST_F(RpcPolicyInstallTest, ASecondPolicyOfALimitedTypeIsAFailure) {
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    node.Install(Policy("a"));
    const Reply reply = Client().Install(Policy("b").Array());
    EXPECT_EQ(reply.value, 7);
    EXPECT_NE(reply.text.find("is limited to NOMULTIPLEPOLICIES"), std::string::npos) << reply.text;
    EXPECT_FALSE(IsInstalled("b"));
    Configure("conf.server", "NOMULTIPLEPOLICIES", "");
}

TEST_F(RpcPolicyInstallTest, AnInstallThatTellsNobodyIsAnOutcomeOfItsOwnAndThePolicyStands) {
    LumCtrl::Service service;
    service.Start();
    const Reply reply = Client().Install(Policy("a").Array(), 1, InstallOptions());
    EXPECT_EQ(reply.value, 9);
    EXPECT_EQ(reply.text,
              "WARNING: Not all policy notification(s) could be sent to control service.\n"
              "  WARNING: No component is registered to control service for event 'CHECK_POLICY:files' with value "
              "'a'.\n"
              "    " +
                  reply.text.substr(reply.text.rfind("\n    ") + 5));
    EXPECT_TRUE(IsInstalled("a"));
    EXPECT_TRUE(node->IsPolicyTypeNameInstalled("files"));
}

TEST_F(RpcPolicyInstallTest, TheStartOfACallIsTracedWithItsSender) {
    TraceLines traced;
    Client().PostCall("install", Arguments("1"), Sender::Nobody);
    EXPECT_TRUE(traced.Contains("Starting 'policy install' request from host ''."));
    EXPECT_TRUE(traced.Contains("the sender proved nothing"));
    EXPECT_TRUE(traced.Contains("install is refused to ''"));
    Client().Operate(15);
    EXPECT_TRUE(traced.Contains("Starting 'policy operation' request from host 'local administrator'."));
    EXPECT_TRUE(traced.Contains("the sender is authenticated"));
    EXPECT_EQ(log.Text(), "") << "a start is not logged";
}

}  // namespace
