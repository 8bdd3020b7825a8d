#include "RpcConfigHandler.h"

#include "SettingsServer.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using LumPalConfig::ConfigGroup_t;
using LumPalStr::String_t;
using Sender = NodeClient::Sender;

const char* const kRefused =
    "Sender with id 'local administrator' is not authorized to execute the configuration parameter operation.";
const char* const kNobodyRefused =
    "Sender with id '' is not authorized to execute the configuration parameter operation.";

std::string Arguments(const std::string& mode, const std::string& package = "<ConfigPackageName/>",
                      const std::string& group = "<ConfigGroupName><ns>test.a</ns></ConfigGroupName>") {
    return "<PolicyOperationMode>" + mode + "</PolicyOperationMode>" + package + group;
}
std::string Group(const std::string& inside) {
    return "<ConfigGroupName>" + inside + "</ConfigGroupName>";
}

struct ModeRow {
    int mode;
    const char* name;  ///< in the audit log
    const char* done;
    const char* audited;
    const char* auditedFailure;
    const char* after;  ///< what is stored then
};

/// On a node that stores kStored, with kArgument.
const std::initializer_list<Setting> kStored = {{"test.a", "X", "1"}, {"test.a", "Y", "2"}, {"test.b", "X", "3"}};
const char* const kStoredShown = "[test.a]X=1;Y=2;[test.b]X=3;";
const std::initializer_list<Setting> kArgument = {{"test.a", "X", "4"}};

const ModeRow kModes[] = {
    {kGet, "config get", "Configuration get operation successful.",
     "INFO Success Audit: CONFIG: Configuration get operation completed successfully.",
     "WARNING Failure Audit: CONFIG: Configuration get operation failed.", kStoredShown},
    {kSet, "config set", "Configuration set operation successful.",
     "INFO Success Audit: CONFIG: Configuration set operation completed successfully.",
     "WARNING Failure Audit: CONFIG: Configuration set operation failed.", "[test.a]X=4;Y=2;[test.b]X=3;"},
    {kClearNamespace, "clear configuration namespace", "Configuration clear namespace operation successful.",
     "INFO Success Audit: CONFIG: Configuration clear operation completed successfully.",
     "WARNING Failure Audit: CONFIG: Configuration get operation failed.", "[test.b]X=3;"},
    {kClearAttribute, "clear config", "Configuration clear namespace attribute operation successful.",
     "INFO Success Audit: CONFIG: Configuration clear operation completed successfully.",
     "WARNING Failure Audit: CONFIG: Configuration get operation failed.", "[test.a]Y=2;[test.b]X=3;"},
};

using RpcConfigHandlerTest = SettingsServer;

class RpcConfigHandlerRows : public SettingsServer, public testing::WithParamInterface<ModeRow> {
protected:
    RpcConfigHandlerRows() { Store(kStored); }
};

TEST_P(RpcConfigHandlerRows, ASenderWithTheRightIsServedAndAudited) {
    const Reply reply = Client().Config(GetParam().mode, GroupOf(kArgument));
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, GetParam().done);
    EXPECT_TRUE(reply.hasGroup);
    EXPECT_EQ(Shown(reply.group, "test."), GetParam().mode == kGet ? kStoredShown : "");
    EXPECT_EQ(Stored(), GetParam().after);
    EXPECT_EQ(AuditedLines(), 1) << node.AuditText();
    EXPECT_EQ(node.Audited(std::string(GetParam().audited) + " Calling system: 'local administrator'"), 1)
        << node.AuditText();
    EXPECT_EQ(log.Text(), "");
}

TEST_P(RpcConfigHandlerRows, ASenderWithoutTheRightIsRefusedAndTheAuditLogNamesTheOperation) {
    const Reply reply = Client().PostCall("configOp", Arguments(std::to_string(GetParam().mode)), Sender::Nobody);
    EXPECT_EQ(reply.value, 8);
    EXPECT_EQ(reply.text, "Sender with id '' is not authorized to execute the configuration parameter operation.");
    EXPECT_TRUE(reply.hasGroup);
    EXPECT_EQ(reply.group.GetConfigCount(), 0);
    EXPECT_EQ(Stored(), kStoredShown);
    EXPECT_EQ(AuditedLines(), 1) << node.AuditText();
    EXPECT_EQ(node.Audited("WARNING Failure Audit: AUTH: Calling system '' is not authorized to call operation: '" +
                           std::string(GetParam().name) + "'."),
              1)
        << node.AuditText();
    EXPECT_EQ(log.Text(), "");
}

TEST_P(RpcConfigHandlerRows, AFailureIsAnsweredWithItsReasonLoggedAndAudited) {
    const Reply reply = Client().Config(GetParam().mode, GroupOf(kArgument), "../x");
    EXPECT_EQ(reply.value, 7);
    EXPECT_EQ(reply.text, std::string(kFailed) + "\n  '../x' cannot be the name of a configuration package.");
    EXPECT_TRUE(reply.hasGroup);
    EXPECT_EQ(reply.group.GetConfigCount(), 0);
    EXPECT_EQ(Stored(), kStoredShown);
    EXPECT_EQ(AuditedLines(), 1) << node.AuditText();
    EXPECT_EQ(node.Audited(std::string(GetParam().auditedFailure) + " Calling system: 'local administrator'"), 1)
        << node.AuditText();
    EXPECT_TRUE(log.Holds(kFailed));
    EXPECT_TRUE(log.Holds("'../x' cannot be"));
    EXPECT_EQ(Client().Config(GetParam().mode, GroupOf(kArgument)).value, 1) << "a good request after the bad one";
}

TEST_P(RpcConfigHandlerRows, APackageThatIsNoPlainFileNameIsAFailureAndChangesNothing) {
    for (const char* package : {"..", ".", "/", "a/b", "../../etc", "/etc", "a\\b", "a\tb", "a\nb", "a\xC2\x85"}) {
        const Reply reply = Client().Config(GetParam().mode, GroupOf(kArgument), package);
        EXPECT_EQ(reply.value, 7) << package;
        EXPECT_EQ(reply.group.GetConfigCount(), 0) << package;
    }
    const Reply tooLong = Client().Config(GetParam().mode, GroupOf(kArgument), std::string(300, 'x').c_str());
    EXPECT_EQ(tooLong.value, 7);
    EXPECT_EQ(Stored(), kStoredShown);
}

TEST_P(RpcConfigHandlerRows, ADatabaseWithASyntaxErrorIsAFailureThatNamesTheFileAndStaysAsItIs) {
    const std::string text = "[test.a]\nno value\n";
    Client().Config(kSet, GroupOf(kArgument), "broken");
    std::string written;
    for (const auto& entry : std::filesystem::directory_iterator(Folder("broken"))) {
        if (entry.path().extension() == ".ini") written = entry.path();
    }
    ASSERT_NE(written, "");
    WriteText(written, text);
    const Reply reply = Client().Config(GetParam().mode, GroupOf(kArgument), "broken");
    EXPECT_EQ(reply.value, 7);
    EXPECT_NE(reply.text.find(written), std::string::npos) << reply.text;
    EXPECT_EQ(ReadText(written), text);
}

TEST_P(RpcConfigHandlerRows, APackageIsADatabaseOfItsOwn) {
    Client().Config(kSet, GroupOf(kStored), "rg1");
    EXPECT_EQ(Stored("rg1"), kStoredShown);
    const Reply reply = Client().Config(GetParam().mode, GroupOf(kArgument), "rg1");
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(Shown(reply.group), GetParam().mode == kGet ? kStoredShown : "") << "nothing of the node's own";
    EXPECT_EQ(Stored("rg1"), GetParam().after);
    EXPECT_EQ(Stored(), kStoredShown);
}

TEST_P(RpcConfigHandlerRows, ADatabaseThatIsNotThereIsEmpty) {
    const Reply reply = Client().Config(GetParam().mode, GroupOf(kArgument), "rg2");
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.group.GetConfigCount(), 0);
    EXPECT_EQ(Stored("rg2"), GetParam().mode == kSet ? "[test.a]X=4;" : "");
}

TEST_P(RpcConfigHandlerRows, AnEmptyGroupIsASuccessAndChangesNothing) {
    WriteText(Folder() + "new_policy_settings.ini", "[test.a]\nX=half wri");
    const Reply reply = Client().Config(GetParam().mode);
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(reply.text, GetParam().done);
    EXPECT_EQ(Stored(), kStoredShown) << "nor are new policy settings taken over that are being written";
    EXPECT_TRUE(std::filesystem::remove(Folder() + "new_policy_settings.ini"));
}

TEST_P(RpcConfigHandlerRows, AnAnswerHasValueTextAndGroupWithTheirTypes) {
    const RawAnswer answer =
        Client().Post(NodeClient::Envelope("<configOp>" + Arguments(std::to_string(GetParam().mode)) + "</configOp>"));
    EXPECT_EQ(answer.status, 200);
    const std::string start =
        "<m:configOpResponse xmlns:m=\"urn:lum:conf\"><ConfigReturnValue xsi:type=\"xsd:int\">1</ConfigReturnValue>"
        "<ConfigReturnString xsi:type=\"xsd:string\">" +
        std::string(GetParam().done) + "</ConfigReturnString><ConfigGroupName>";
    EXPECT_NE(answer.body.find(start), std::string::npos) << answer.body;
}

INSTANTIATE_TEST_SUITE_P(Modes, RpcConfigHandlerRows, testing::ValuesIn(kModes),
                         [](const auto& row) { return std::to_string(row.param.mode); });

TEST_F(RpcConfigHandlerTest, ANumberThatIsNoOperationIsRefusedWithoutALineInTheAuditLog) {
    Store({{"test.a", "X", "1"}});
    for (int mode : {0, 1, 2, 3, 4, 13, 15, 16, 21, 255, -17, -1, -2147483647 - 1, 2147483647}) {
        const Reply reply = Client().Config(mode, GroupOf({{"test.a", "X", "2"}}));
        EXPECT_EQ(reply.value, 8) << mode;
        EXPECT_EQ(reply.text, kRefused) << mode;
        EXPECT_TRUE(reply.hasGroup) << mode;
    }
    EXPECT_EQ(Client().PostCall("configOp", Arguments("21"), Sender::Nobody).value, 8);
    EXPECT_EQ(Stored(), "[test.a]X=1;");
    EXPECT_EQ(node.AuditText(), "");
    EXPECT_EQ(log.Text(), "");
}

TEST_F(RpcConfigHandlerTest, ASettingsModeIsNoOperationOnPoliciesAndTheOtherWayRound) {
    EXPECT_EQ(Client().Operate(kGet).value, 8);
    EXPECT_EQ(Client().Operate(kSet).value, 8);
}

struct MalformedRow {
    const char* what;
    std::string elements;
};

const MalformedRow kMalformed[] = {
    {"nothing", ""},
    {"no mode", "<ConfigPackageName/><ConfigGroupName/>"},
    {"no package", Arguments("18", "")},
    {"no group", Arguments("18", "<ConfigPackageName/>", "")},
    {"a mode in words", Arguments("set")},
    {"an empty mode", Arguments("")},
    {"a mode beyond 32 bits", Arguments("4294967314")},
    {"an element in the mode", Arguments("<b/>18")},
    {"an element in the package", Arguments("18", "<ConfigPackageName><b/></ConfigPackageName>")},
    {"a mode twice", Arguments("18") + "<PolicyOperationMode>18</PolicyOperationMode>"},
    {"a group twice", Arguments("18") + Group("<ns>test.b</ns>")},
    {"an unknown element in the group", Arguments("18", "<ConfigPackageName/>", Group("<ns>test.a</ns><more/>"))},
    {"an unknown element in the group of a get", Arguments("17", "<ConfigPackageName/>", Group("<more/>"))},
    {"an unknown element behind changes",
     Arguments("18", "<ConfigPackageName/>",
               Group("<ns>test.a</ns><attrname>X</attrname><attrvalue>2</attrvalue><more/>"))},
    {"an unknown element behind a namespace to clear",
     Arguments("19", "<ConfigPackageName/>", Group("<ns>test.a</ns><more/>"))},
    {"an element in a namespace", Arguments("19", "<ConfigPackageName/>", Group("<ns>test.a<b/></ns>"))},
    {"an attribute before the first namespace",
     Arguments("18", "<ConfigPackageName/>", Group("<attrname>X</attrname><attrvalue>2</attrvalue><ns>test.a</ns>"))},
    {"a name without a value", Arguments("20", "<ConfigPackageName/>", Group("<ns>test.a</ns><attrname>X</attrname>"))},
    {"a value without a name",
     Arguments("18", "<ConfigPackageName/>", Group("<ns>test.a</ns><attrvalue>2</attrvalue>"))},
    {"a group that is cut", Arguments("18", "<ConfigPackageName/>", "<ConfigGroupName><ns>test.a</ns>")},
};

TEST_F(RpcConfigHandlerTest, AMalformedRequestIsRefusedWithoutALineInTheAuditLogAndChangesNothing) {
    Store({{"test.a", "X", "1"}});
    for (const MalformedRow& row : kMalformed) {
        const Reply reply = Client().PostCall("configOp", row.elements);
        EXPECT_EQ(reply.value, 8) << row.what;
        EXPECT_EQ(reply.text, kRefused) << row.what;
        EXPECT_TRUE(reply.hasGroup) << row.what;
        EXPECT_EQ(reply.group.GetConfigCount(), 0) << row.what;
        const Reply nobodys = Client().PostCall("configOp", row.elements, Sender::Nobody);
        EXPECT_EQ(nobodys.value, 8) << row.what;
        EXPECT_EQ(nobodys.text, kNobodyRefused) << row.what;
        EXPECT_EQ(nobodys.group.GetConfigCount(), 0) << row.what;
    }
    EXPECT_EQ(node.AuditText(), "") << "the right was never asked for";
    EXPECT_TRUE(log.Holds(kFailed)) << "the log has the reason";
    EXPECT_EQ(Stored(), "[test.a]X=1;");
}

TEST_F(RpcConfigHandlerTest, TheStartOfACallIsTracedWithItsSenderAndNotLogged) {
    TraceLines traced;
    Client().Config(kGet);
    EXPECT_TRUE(traced.Contains("Starting 'configuration get/set' request from host 'local administrator'."));
    Client().PostCall("configOp", Arguments("19"), Sender::Nobody);
    EXPECT_TRUE(traced.Contains("Starting 'configuration get/set' request from host ''."));
    EXPECT_TRUE(traced.Contains("clear configuration namespace is refused to ''"));
    EXPECT_EQ(log.Text(), "");
}

TEST_F(RpcConfigHandlerTest, AGetHasLocalSettingsOverThoseOfPolicies) {
    WriteText(Folder() + "policy_settings.ini", "[test.a]\nX=policy\nY=policy\n[test.p]\nZ=policy\n");
    Store({{"test.a", "X", "local"}});
    EXPECT_EQ(Shown(Client().Config(kGet).group, "test."), "[test.a]X=local;Y=policy;[test.p]Z=policy;");
}

TEST_F(RpcConfigHandlerTest, AClearBringsWhatAPolicySaysBack) {
    WriteText(Folder() + "policy_settings.ini", "[test.a]\nX=policy\n[test.b]\nX=policy\n");
    Store({{"test.a", "X", "local"}, {"test.b", "X", "local"}});
    EXPECT_EQ(Client().Config(kClearAttribute, GroupOf({{"test.a", "X"}})).value, 1);
    EXPECT_EQ(Client().Config(kClearNamespace, GroupOf({{"test.b"}})).value, 1);
    EXPECT_EQ(Shown(Client().Config(kGet).group, "test."), "[test.a]X=policy;[test.b]X=policy;");
}

TEST_F(RpcConfigHandlerTest, ASetOfALoneNamespaceChangesNothing) {
    Store({{"test.a", "X", "1"}});
    EXPECT_EQ(Client().Config(kSet, GroupOf({{"test.a"}, {"test.new"}})).value, 1);
    EXPECT_EQ(Stored(), "[test.a]X=1;");
}

TEST_F(RpcConfigHandlerTest, SeveralAttributesInSeveralNamespacesAreClearedInOneRequestWhateverTheirValues) {
    Store({{"test.a", "W", "0"},
           {"test.a", "X", "1"},
           {"test.a", "Y", "2"},
           {"test.b", "X", "3"},
           {"test.b", "Y", "4"},
           {"test.c", "X", "5"}});
    const Reply reply = Client().Config(
        kClearAttribute,
        GroupOf({{"test.a", "X", "DELETE_THIS_ATTRIBUTE"}, {"test.a", "Y", "2"}, {"test.b", "Y", ""}, {"test.c"}}));
    EXPECT_EQ(reply.value, 1);
    EXPECT_EQ(Stored(), "[test.a]W=0;[test.b]X=3;[test.c]X=5;");
    EXPECT_EQ(AuditedLines(), 1) << "one line for the request";
}

TEST_F(RpcConfigHandlerTest, SeveralNamespacesAreClearedInOneRequestAndTheirAttributesDoNotMatter) {
    Store({{"test.a", "X", "1"}, {"test.b", "X", "2"}, {"test.c", "X", "3"}});
    EXPECT_EQ(Client().Config(kClearNamespace, GroupOf({{"test.a"}, {"test.c", "other", "5"}})).value, 1);
    EXPECT_EQ(Stored(), "[test.b]X=2;");
}

TEST_F(RpcConfigHandlerTest, AClearOfAttributesThatNamesNoneChangesNothing) {
    Store({{"test.a", "X", "1"}});
    WriteText(Folder() + "new_policy_settings.ini", "[test.a]\nX=half wri");
    EXPECT_EQ(Client().Config(kClearAttribute, GroupOf({{"test.a"}})).value, 1);
    EXPECT_EQ(Stored(), "[test.a]X=1;");
    EXPECT_TRUE(std::filesystem::remove(Folder() + "new_policy_settings.ini"));
}

TEST_F(RpcConfigHandlerTest, WhatIsNotThereIsClearedWithSuccess) {
    Store({{"test.a", "X", "1"}});
    EXPECT_EQ(Client().Config(kClearAttribute, GroupOf({{"test.a", "Y"}, {"test.none", "X"}})).value, 1);
    EXPECT_EQ(Client().Config(kClearNamespace, GroupOf({{"test.none"}})).value, 1);
    EXPECT_EQ(Stored(), "[test.a]X=1;");
}

const char* const kBadNames[] = {"", "a\tb", "a\nb", "\r", "test.\xC2\x85", "\xE2\x80\xA8", "\x7F"};

TEST_F(RpcConfigHandlerTest, AChangeWithOneNameThatTheStoreRefusesChangesNothing) {
    Store({{"test.a", "X", "1"}, {"test.z", "X", "1"}});
    for (const char* bad : kBadNames) {
        const ConfigGroup_t groups[] = {
            GroupOf({{"test.a", "X", "2"}, {bad, "X", "2"}, {"test.z", "X", "2"}, {"test.z", "Y", "2"}}),
            GroupOf({{"test.a", "X", "2"}, {"test.m", bad, "2"}, {"test.z", "X", "2"}}),
            GroupOf({{"test.a", "X", "2"}, {"test.z", bad, "2"}, {"test.z", "X", "2"}}),
        };
        for (const ConfigGroup_t& group : groups) {
            for (int mode : {kSet, kClearAttribute}) {
                const Reply reply = Client().Config(mode, group);
                EXPECT_EQ(reply.value, 7) << mode << " " << bad;
                EXPECT_TRUE(reply.text.starts_with(std::string(kFailed) + "\n  '")) << reply.text;
            }
        }
        EXPECT_EQ(Client().Config(kClearNamespace, GroupOf({{"test.a"}, {bad}, {"test.z"}})).value, 7) << bad;
        EXPECT_EQ(Stored(), "[test.a]X=1;[test.z]X=1;") << bad;
    }
}

}  // namespace
