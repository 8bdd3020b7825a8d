// Whether an arriving policy may replace what is installed, and what it takes over.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "InstallDecisionTest.h"
#include "InstallOptionsImpl.h"
#include "Raised.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct UpdateRow {
    const char* what;
    void (*change)(TestPolicy& installed, TestPolicy& arriving);
    void (*set)(InstallOptions&);
    const char* result;
};

void Nothing(TestPolicy&, TestPolicy&) {}

const UpdateRow kUpdates[] = {
    {"status, categories and attributes of the installed policy stay", Nothing, [](InstallOptions&) {},
     "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a status without force changes nothing", Nothing, [](InstallOptions& o) { o.SetEnabled(); },
     "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"an enabled policy stays enabled under the status disabled without force",
     [](TestPolicy& installed, TestPolicy&) { installed.status = "enabled"; },
     [](InstallOptions& o) { o.SetDisabled(); }, "6,me,enabled,old2 old1 ,old=2 old=1 "},
    {"an installed status that is neither counts as disabled",
     [](TestPolicy& installed, TestPolicy&) { installed.status = "Enabled"; }, [](InstallOptions&) {},
     "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a forced status enables", Nothing, [](InstallOptions& o) { o.ForceState().SetEnabled(); },
     "6,me,enabled,old2 old1 ,old=2 old=1 "},
    {"a forced status disables", [](TestPolicy& installed, TestPolicy&) { installed.status = "enabled"; },
     [](InstallOptions& o) { o.ForceState().SetDisabled(); }, "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a forced status that is not given disables",
     [](TestPolicy& installed, TestPolicy&) { installed.status = "enabled"; },
     [](InstallOptions& o) { o.ForceState(); }, "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a forced status that is none disables", [](TestPolicy& installed, TestPolicy&) { installed.status = "enabled"; },
     [](InstallOptions& o) { o.ForceState().GetImpl().SetState(2); }, "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"forced categories are those of the arriving policy with its changes", Nothing,
     [](InstallOptions& o) { o.SetForceCat(true).SetAddCategory("added"); }, "6,me,disabled,new added ,old=2 old=1 "},
    {"changed categories are lost without force", Nothing, [](InstallOptions& o) { o.SetAddCategory("added"); },
     "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"changed categories survive where nothing is to be taken over",
     [](TestPolicy& installed, TestPolicy&) { installed.categories.clear(); },
     [](InstallOptions& o) { o.SetAddCategory("added"); }, "6,me,disabled,new added ,old=2 old=1 "},
    {"forced attributes are those of the arriving policy with its changes", Nothing,
     [](InstallOptions& o) { o.SetForceAttr(true).SetAddAttribute("added", "1"); },
     "6,me,disabled,old2 old1 ,new=1 added=1 "},
    {"changed attributes survive where nothing is to be taken over",
     [](TestPolicy& installed, TestPolicy&) { installed.attributes.clear(); },
     [](InstallOptions& o) { o.SetAddAttribute("added", "1"); }, "6,me,disabled,old2 old1 ,new=1 added=1 "},
    {"an owner may take a policy that has none", [](TestPolicy& installed, TestPolicy&) { installed.owner = ""; },
     [](InstallOptions&) {}, "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a forced owner replaces the owner", [](TestPolicy&, TestPolicy& arriving) { arriving.owner = "you"; },
     [](InstallOptions& o) { o.SetForceOwner(true); }, "6,you,disabled,old2 old1 ,old=2 old=1 "},
    {"an owner from the options may match", [](TestPolicy&, TestPolicy& arriving) { arriving.owner = "you"; },
     [](InstallOptions& o) { o.SetOwner("me"); }, "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a lower version may come when nobody looks", [](TestPolicy&, TestPolicy& arriving) { arriving.version = "4"; },
     [](InstallOptions&) {}, "4,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a higher version may come", Nothing, [](InstallOptions& o) { o.SetCheckVersion(true); },
     "6,me,disabled,old2 old1 ,old=2 old=1 "},
    {"a version with more text is higher", [](TestPolicy&, TestPolicy& arriving) { arriving.version = "5.0"; },
     [](InstallOptions& o) { o.SetCheckVersion(true); }, "5.0,me,disabled,old2 old1 ,old=2 old=1 "},
    {"force replaces everything without a check",
     [](TestPolicy&, TestPolicy& arriving) {
         arriving.owner = "you";
         arriving.version = "1";
     },
     [](InstallOptions& o) { o.SetForceAll(true).SetCheckVersion(true); }, "1,you,enabled,new ,new=1 "},
    {"force with changes and a status", Nothing,
     [](InstallOptions& o) { o.SetForceAll(true).SetDisabled().SetAddCategory("added").RemoveOwner(); },
     "6,,disabled,new added ,new=1 "},
};

TEST_F(InstallDecisionTest, AnUpdateTakesOverWhatTheOptionsLeaveToTheInstalledPolicy) {
    for (const UpdateRow& row : kUpdates) {
        SCOPED_TRACE(row.what);
        TestPolicy installed = Installed();
        TestPolicy arriving = Arriving();
        row.change(installed, arriving);
        InstallOptions options;
        row.set(options);
        node.Install(installed);
        node.Install(arriving, options);
        EXPECT_EQ(Result(), row.result);
        EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/both.txt", "files/new.txt"));
        EXPECT_EQ(node.InstalledContent("files/both.txt"), "new both");
        EXPECT_THAT(node.Incoming(), IsEmpty());
        EXPECT_THAT(node.Temporary(), IsEmpty());
        node.Remove(Selection());
    }
}

struct RefusalRow {
    const char* what;
    void (*change)(TestPolicy& arriving);
    void (*set)(InstallOptions&);
    unsigned id;
    const char* text;
};

const RefusalRow kRefusals[] = {
    {"another type", [](TestPolicy& p) { p.type = "other"; }, [](InstallOptions&) {}, 606,
     "Policy with id 'a', name 'Backup' and type name 'other' is already installed with a different type name "
     "'files'."},
    {"another type is said before another owner",
     [](TestPolicy& p) {
         p.type = "other";
         p.owner = "you";
     },
     [](InstallOptions&) {}, 606, "different type name"},
    {"another type, though owner, categories and attributes are forced", [](TestPolicy& p) { p.type = "other"; },
     [](InstallOptions& o) { o.SetForceOwner(true).SetForceCat(true).SetForceAttr(true).ForceState(); }, 606,
     "different type name"},
    {"another owner", [](TestPolicy& p) { p.owner = "you"; }, [](InstallOptions&) {}, 104,
     "The owner 'you' does not match with the owner 'me' of the installed policy 'files:Backup'."},
    {"no owner over an owner", [](TestPolicy& p) { p.owner = ""; }, [](InstallOptions&) {}, 104, "The owner ''"},
    {"an owner in other letters", [](TestPolicy& p) { p.owner = "Me"; }, [](InstallOptions&) {}, 104, "The owner 'Me'"},
    {"an owner taken away by the options", [](TestPolicy&) {}, [](InstallOptions& o) { o.RemoveOwner(); }, 104,
     "The owner ''"},
    {"another owner is said before the version",
     [](TestPolicy& p) {
         p.owner = "you";
         p.version = "1";
     },
     [](InstallOptions& o) { o.SetCheckVersion(true); }, 104, "The owner"},
    {"an equal version", [](TestPolicy& p) { p.version = "5"; }, [](InstallOptions& o) { o.SetCheckVersion(true); },
     105, "The policy version '5' is lower or equal than version '5' of the installed policy 'Backup:files'."},
    {"a lower version", [](TestPolicy& p) { p.version = "4.9"; }, [](InstallOptions& o) { o.SetCheckVersion(true); },
     105, "'4.9'"},
    {"a version that is higher as a number only", [](TestPolicy& p) { p.version = "10"; },
     [](InstallOptions& o) { o.SetCheckVersion(true); }, 105, "'10'"},
    {"no version", [](TestPolicy& p) { p.version = ""; },
     [](InstallOptions& o) { o.SetCheckVersion(true).SetForceOwner(true); }, 105, "''"},
};

TEST_F(InstallDecisionTest, ARefusedUpdateLeavesTheInstalledPolicyUntouched) {
    node.Install(Installed());
    for (const RefusalRow& row : kRefusals) {
        SCOPED_TRACE(row.what);
        TestPolicy arriving = Arriving();
        row.change(arriving);
        InstallOptions options;
        row.set(options);
        const CaughtFailure failure = FailureOf<PolicyException>([&] { node.Install(arriving, options); });
        EXPECT_EQ(failure.id, row.id);
        EXPECT_NE(failure.text.find(row.text), std::string::npos) << failure.text;
        ExpectUntouched();
    }
    EXPECT_EQ(node.Audited("could not be installed"), static_cast<int>(std::size(kRefusals)));
}

TEST_F(InstallDecisionTest, RefusalsForOwnerAndVersionHaveClassesOfTheirOwn) {
    node.Install(Installed());
    TestPolicy arriving = Arriving();
    arriving.type = "other";
    EXPECT_RAISES(node.Install(arriving), PolicyException, 606);
    arriving = Arriving();
    arriving.owner = "you";
    EXPECT_THROW(node.Install(arriving), PolicyOwnerError);
    arriving = Arriving();
    arriving.version = "5";
    EXPECT_THROW(node.Install(arriving, InstallOptions().SetCheckVersion(true)), PolicyVersionError);
}

TEST_F(InstallDecisionTest, TheDecisionComesBeforeTheLookForDataFiles) {
    node.Install(Installed());
    TestPolicy arriving = Arriving();
    arriving.owner = "you";
    arriving.document = arriving.Document();
    arriving.data.clear();
    EXPECT_EQ(FailureOf<PolicyException>([&] { node.Install(arriving); }).id, 104u);
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    TestPolicy second = Arriving();
    second.id = "b";
    second.name = "Second";
    second.document = second.Document();
    second.data.clear();
    EXPECT_EQ(FailureOf<PolicyException>([&] { node.Install(second); }).id, 678u);
    ExpectUntouched();
}

TEST_F(InstallDecisionTest, ForceRemovesTheOthersOfALimitedTypeBeforeAMissingDataFileIsSeen) {
    node.Install(Installed());
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    TestPolicy second = Arriving();
    second.id = "b";
    second.name = "Second";
    second.document = second.Document();
    second.data.clear();
    EXPECT_EQ(FailureOf<PolicyException>([&] { node.Install(second, InstallOptions().SetForceAll(true)); }).id, 107u);
    EXPECT_EQ(node.Ids(), "");
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(InstallDecisionTest, ANameThatCannotBeLookedUpFailsANewPolicyAndNotAnUpdate) {
    TestPolicy policy = Arriving();
    for (const auto& [name, id] : std::vector<std::pair<std::string, unsigned>>{{"a=b", 71}, {" ", 70}}) {
        policy.name = name;
        EXPECT_EQ(FailureOf<LumPalMsg::IllegalArgumentError_t>([&] { node.Install(policy); }).id, id);
        EXPECT_EQ(node.Incoming().count("a_header.xml"), 1u) << "such a failure is not cleaned up";
        EXPECT_EQ(node.Audited("INSTALL"), 0);
    }
    node.Install(Installed());
    node.Install(policy);
    EXPECT_EQ(node.Get("a").GetName(), " ");
}

TEST_F(InstallDecisionTest, VersionTenIsBelowVersionNine) {
    TestPolicy installed = Installed();
    installed.version = "9";
    node.Install(installed);
    TestPolicy arriving = Arriving();
    arriving.version = "10";
    EXPECT_EQ(FailureOf<PolicyVersionError>([&] { node.Install(arriving, InstallOptions().SetCheckVersion(true)); }).id,
              105u);
}

TEST_F(InstallDecisionTest, ANewBuildUnderAnotherIdReplacesThePolicyOfItsNameAndType) {
    node.Install(Installed());
    TestPolicy arriving = Arriving();
    arriving.id = "b";
    node.Install(arriving);
    EXPECT_EQ(node.Ids(), "b");
    EXPECT_EQ(Result("b"), "6,me,disabled,old2 old1 ,old=2 old=1 ");
    EXPECT_THAT(node.Installed(), ElementsAre("files/b_header.xml", "files/both.txt", "files/new.txt"));
}

TEST_F(InstallDecisionTest, ANewBuildUnderAnotherIdIsHeldToOwnerAndVersionToo) {
    node.Install(Installed());
    TestPolicy arriving = Arriving();
    arriving.id = "b";
    arriving.owner = "you";
    EXPECT_THROW(node.Install(arriving), PolicyOwnerError);
    arriving.owner = "me";
    arriving.version = "5";
    EXPECT_THROW(node.Install(arriving, InstallOptions().SetCheckVersion(true)), PolicyVersionError);
    ExpectUntouched();
}

}  // namespace
}  // namespace LumConf
