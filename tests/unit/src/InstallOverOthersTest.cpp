// What an install does to other policies: of the same name, of its old type, of a limited type.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Files.h"
#include "InstallDecisionTest.h"
#include "InstallOptionsImpl.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

/// A policy beside the installed one, of its type.
TestPolicy Neighbour() {
    TestPolicy policy;
    policy.id = "n";
    policy.name = "neighbour";
    policy.owner = "you";
    policy.data = {{"neighbour.txt", "neighbour"}};
    return policy;
}

TEST_F(InstallDecisionTest, AnUpdateThatTakesTheNameOfAThirdPolicyTakesItsWholePlace) {
    node.Install(Installed());
    node.Install(Neighbour());
    TestPolicy arriving = Arriving();
    arriving.name = "neighbour";
    node.Install(arriving, InstallOptions().SetForceOwner(true));
    for (const bool restarted : {false, true}) {
        SCOPED_TRACE(restarted);
        if (restarted) node.Restart();
        EXPECT_EQ(node.Ids(), "a");
        EXPECT_EQ(node.Get("a").GetName(), "neighbour");
        EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/both.txt", "files/new.txt"));
    }
    EXPECT_EQ(node.Audited("(name: 'neighbour', id: 'n') was successfully removed"), 1) << node.AuditText();
}

TEST_F(InstallDecisionTest, AnUpdateThatTakesTheNameOfAnotherOwnersPolicyIsRefused) {
    node.Install(Installed());
    node.Install(Neighbour());
    TestPolicy arriving = Arriving();
    arriving.name = "neighbour";
    const CaughtFailure failure = FailureOf<PolicyOwnerError>([&] { node.Install(arriving); });
    EXPECT_EQ(failure.id, 104u);
    EXPECT_NE(failure.text.find("'you'"), std::string::npos) << failure.text;
    EXPECT_EQ(node.Ids(), "a n");
    EXPECT_EQ(node.InstalledContent("files/neighbour.txt"), "neighbour");
}

TEST_F(InstallDecisionTest, ThatTheThirdPolicysDocumentIsGoneIsNoReasonToRefuseItsName) {
    node.Install(Installed());
    node.Install(Neighbour());
    std::filesystem::remove(node.InstallFolder() + "/files/n_header.xml");
    TestPolicy arriving = Arriving();
    arriving.name = "neighbour";
    node.Install(arriving, InstallOptions().SetForceOwner(true));
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/both.txt", "files/new.txt"));
}

TEST_F(InstallDecisionTest, WhatFailsBeforeTheChangeKeepsThePolicyWhoseNameIsTaken) {
    node.Install(Installed());
    node.Install(Neighbour());
    TestPolicy arriving = Arriving();
    arriving.name = "neighbour";
    arriving.document = arriving.Document();
    arriving.data.clear();
    EXPECT_EQ(FailureOf<PolicyException>([&] { node.Install(arriving, InstallOptions().SetForceOwner(true)); }).id,
              107u);
    EXPECT_EQ(node.Ids(), "a n");
}

TEST_F(InstallDecisionTest, ForceReplacesAPolicyOfTheSameNameAndTypeUnderAnotherId) {
    node.Install(Installed());
    TestPolicy arriving = Arriving();
    arriving.id = "b";
    arriving.owner = "you";
    node.Install(arriving, InstallOptions().SetForceAll(true));
    EXPECT_EQ(Result("b"), "6,you,enabled,new ,new=1 ");
    EXPECT_THAT(node.Installed(), ElementsAre("files/b_header.xml", "files/both.txt", "files/new.txt"));
}

TEST_F(InstallDecisionTest, ForceMovesAPolicyToAnotherTypeAndTheOldTypesEmptyFolderGoes) {
    node.Install(Installed());
    TestPolicy arriving = Arriving();
    arriving.type = "other";
    node.Install(arriving, InstallOptions().SetForceAll(true));
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_THAT(node.Installed(), ElementsAre("other/a_header.xml", "other/both.txt", "other/new.txt"));
    EXPECT_FALSE(fs::exists(node.InstallFolder() + "/files"));
    EXPECT_FALSE(node->IsPolicyTypeNameInstalled("files"));
}

TEST_F(InstallDecisionTest, ForceLeavesTheOldTypesFolderWhileAnotherPolicyOfTheTypeRemains) {
    node.Install(Installed());
    TestPolicy stays;
    stays.id = "stays";
    stays.name = "Another";
    node.Install(stays);
    TestPolicy arriving = Arriving();
    arriving.type = "other";
    node.Install(arriving, InstallOptions().SetForceAll(true));
    EXPECT_EQ(node.Installed().count("files/stays_header.xml"), 1u);
    EXPECT_EQ(node.Installed().count("files/a_header.xml"), 0u);
    EXPECT_EQ(node.Ids(), "a stays");
}

TEST_F(InstallDecisionTest, ForceOfANewPolicyInstallsIt) {
    node.Install(Arriving(), InstallOptions().SetForceAll(true));
    EXPECT_EQ(Result(), "6,me,enabled,new ,new=1 ");
}

TEST_F(InstallDecisionTest, AnUpdateOfAPolicyWhoseFilesAreGoneWritesThemAgain) {
    node.Install(Installed());
    fs::remove_all(node.InstallFolder() + "/files");
    node.Install(Arriving());
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/both.txt", "files/new.txt"));
}

TEST_F(InstallDecisionTest, OldDataThatCannotBeDeletedIsMovedAway) {
    node.Install(Installed());
    fs::remove(node.InstallFolder() + "/files/old.txt");
    WriteText(node.InstallFolder() + "/files/old.txt/in the way");
    node.Install(Arriving());
    EXPECT_EQ(Result(), "6,me,disabled,old2 old1 ,old=2 old=1 ");
}

TEST_F(InstallDecisionTest, OldDataOutsideItsFolderIsNotTouched) {
    WriteText(node.Root().Native() + "/victim", "keep");
    TestPolicy installed = Installed();
    installed.data = {{"../../victim", "x"}};
    WriteText(node.InstallFolder() + "/files/a_header.xml", installed.Document());
    node->ReinitCache("tester");
    node.Install(Arriving());
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/victim"), "keep");
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/both.txt", "files/new.txt"));
}

// A type that may have one policy only

struct LimitRow {
    const char* list;
    bool limited;
};

const LimitRow kLimits[] = {
    {"", false},         {"other", false}, {"file", false}, {"files", true}, {"other files more", true},
    {"allfiles2", true}, {"FILES", false},
};

TEST_F(InstallDecisionTest, ATypeIsLimitedWhenItsNameOccursAnywhereInTheList) {
    TestPolicy second = Arriving();
    second.id = "b";
    second.name = "Second";
    for (const LimitRow& row : kLimits) {
        SCOPED_TRACE(row.list);
        Configure("conf.server", "NOMULTIPLEPOLICIES", row.list);
        node.Install(Installed());
        const CaughtFailure failure = FailureOf<NoMultiplePoliciesException>([&] { node.Install(second); });
        EXPECT_EQ(failure.id, row.limited ? 678u : 0u);
        EXPECT_EQ(node.Ids(), row.limited ? "a" : "a b");
        if (row.limited) ExpectUntouched();
        // The installed policies have a data file in common, so that one of the two finds it gone.
        try {
            node.Remove(Selection());
        } catch (const PolicyException&) {
        }
    }
}

TEST_F(InstallDecisionTest, TheRefusalOfASecondPolicyNamesTheType) {
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    node.Install(Installed());
    TestPolicy second = Arriving();
    second.id = "b";
    second.name = "Second";
    const CaughtFailure failure = FailureOf<NoMultiplePoliciesException>([&] { node.Install(second); });
    EXPECT_NE(failure.text.find("Policy of the type 'files' is already installed and is limited to NOMULTIPLEPOLICIES"),
              std::string::npos);
}

TEST_F(InstallDecisionTest, TheOnePolicyOfALimitedTypeMayBeUpdatedAlsoUnderAnotherId) {
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    node.Install(Installed());
    node.Install(Arriving());
    TestPolicy other = Arriving();
    other.id = "b";
    node.Install(other);
    EXPECT_EQ(node.Ids(), "b");
}

TEST_F(InstallDecisionTest, ForceRemovesTheOthersOfALimitedTypeFirstAndTellsAtOnce) {
    PolicyListener listener;
    TestPolicy third;
    third.id = "c";
    third.name = "Third";
    node.Install(Installed());
    node.Install(third);
    node->Notify("tester");
    listener.Heard();
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    TestPolicy second = Arriving();
    second.id = "b";
    second.name = "Second";
    node.Install(second, InstallOptions().SetForceAll(true));
    EXPECT_EQ(node.Ids(), "b");
    EXPECT_THAT(node.Installed(), ElementsAre("files/b_header.xml", "files/both.txt", "files/new.txt"));
    EXPECT_THAT(listener.Heard(), ElementsAre("REMOVE_POLICY:files a c", "LAST_POLICY:files "));
    node->Notify("tester");
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files b"));
}

TEST_F(InstallDecisionTest, AnOtherPolicyOfALimitedTypeThatCannotBeRemovedWhollyFailsTheInstall) {
    node.Install(Installed());
    fs::remove(node.InstallFolder() + "/files/old.txt");
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    TestPolicy second = Arriving();
    second.id = "b";
    second.name = "Second";
    EXPECT_EQ(FailureOf<PolicyException>([&] { node.Install(second, InstallOptions().SetForceAll(true)); }).id, 112u);
    EXPECT_EQ(node.Ids(), "");
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

}  // namespace
}  // namespace LumConf
