// Removing policies: what goes, what stays, and what is never followed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "PolicyOperationTest.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

TEST_F(PolicyOperationTest, RemovingDeletesDataAndHeaderAndAudits) {
    node.Install(Policy("a"));
    node.Install(Policy("b"));
    node.Remove(Selection().SetPolicyId("A"));
    EXPECT_THAT(node.Installed(), ElementsAre("files/b.one", "files/b.two", "files/b_header.xml"));
    EXPECT_EQ(node.Ids(), "b");
    EXPECT_EQ(node.Audited("REMOVE: Policy (name: 'name of a', id: 'a') was successfully removed."), 1);
}

TEST_F(PolicyOperationTest, RemovingFromAnEmptyStoreFailsAndCountsAsASuccessInTheAudit) {
    EXPECT_EQ(FailureOf<NoPoliciesInstalledError>([this] { node.Remove(Selection()); }).id, 109u);
    EXPECT_EQ(node.Audited("Success Audit: REMOVE: Policy successfully removed."), 1);
}

TEST_F(PolicyOperationTest, RemovingNothingFailsAndCountsAsASuccessInTheAudit) {
    node.Install(Policy("a"));
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([this] { node.Remove(Selection().SetPolicyOwner("x")); }).id, 110u);
    EXPECT_EQ(node.Audited("Success Audit: REMOVE: Policy successfully removed."), 1);
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(PolicyOperationTest, RemovingAnUnknownIdFails) {
    node.Install(Policy("a"));
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([this] { node.Remove(Selection().SetPolicyId("nobody")); }).id, 63u);
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(PolicyOperationTest, APolicyThatASelectionGivesTwiceIsGoneAfterTheFirstTimeAndUnknownTheSecond) {
    TestPolicy policy = Policy("a");
    policy.attributes = {{"group", "1"}, {"group", "2"}};
    node.Install(policy);
    node.Install(Policy("b"));
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([this] { node.Remove(Selection().SetPolicyAttribute("group")); }).id, 63u);
    EXPECT_EQ(node.Ids(), "b");
}

TEST_F(PolicyOperationTest, APolicyWithAMissingDataFileIsRemovedAndTheFileIsNamed) {
    node.Install(Policy("a"));
    fs::remove(node.InstallFolder() + "/files/a.one");
    const CaughtFailure failure = FailureOf<PolicyException>([this] { node.Remove(Selection()); });
    EXPECT_EQ(failure.id, 112u);
    EXPECT_NE(failure.text.find("Cannot delete policy data file '" + node.InstallFolder() +
                                "/files/a.one' for policy id `a`. File does not exist."),
              std::string::npos);
    EXPECT_THAT(node.Installed(), IsEmpty());
    EXPECT_FALSE(node->IsPolicyInstalled());
    EXPECT_EQ(node.Audited("could not be removed"), 1);
    EXPECT_EQ(node.Audited("was successfully removed"), 1);
}

TEST_F(PolicyOperationTest, APolicyWithAMissingHeaderStaysInTheCache) {
    node.Install(Policy("a"));
    fs::remove(node.InstallFolder() + "/files/a_header.xml");
    const CaughtFailure failure = FailureOf<PolicyException>([this] { node.Remove(Selection()); });
    EXPECT_EQ(failure.id, 114u);
    EXPECT_NE(failure.text.find("Cannot delete policy header file '" + node.InstallFolder() +
                                "/files/a_header.xml' for policy id `a`. File does not exist."),
              std::string::npos);
    EXPECT_THAT(node.Installed(), IsEmpty()) << "the data files are gone all the same";
    EXPECT_TRUE(node->IsPolicyInstalled());
    EXPECT_EQ(node.Audited("Failure Audit: REMOVE: Policy (name: 'name of a', id: 'a') could not be removed."), 1);
    EXPECT_EQ(node.Audited("was successfully removed"), 0);
}

TEST_F(PolicyOperationTest, FilesThatCannotBeDeletedAreNamedAndTheOtherPoliciesGo) {
    node.Install(Policy("a"));
    node.Install(Policy("b"));
    for (const char* file : {"/files/a.one", "/files/a_header.xml"}) {
        fs::remove(node.InstallFolder() + file);
        fs::create_directories(node.InstallFolder() + file + "/full");
    }
    const CaughtFailure failure = FailureOf<PolicyException>([this] { node.Remove(Selection()); });
    EXPECT_EQ(failure.id, 111u);
    const std::string folder = node.InstallFolder() + "/files/";
    for (const std::string& text : {"data file '" + folder + "a.one'", "header file '" + folder + "a_header.xml'"}) {
        EXPECT_NE(
            failure.text.find("Cannot delete policy " + text + " for policy id `a`. Error during deletion of file."),
            std::string::npos);
    }
    EXPECT_EQ(node.Audited("Failure Audit: REMOVE: Policy (name: 'name of a', id: 'a') could not be removed."), 2);
    EXPECT_EQ(node.Audited("was successfully removed"), 1);
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_THAT(node.Installed(), IsEmpty());
}

TEST_F(PolicyOperationTest, TheLastPolicyOfATypeTakesItsFolderAlongAndOneOfTwoDoesNot) {
    node.Install(Policy("a"));
    node.Install(Policy("b"));
    node.Remove(Selection().SetPolicyId("a"));
    EXPECT_TRUE(fs::is_directory(node.InstallFolder() + "/files"));
    node.Remove(Selection().SetPolicyId("b"));
    EXPECT_FALSE(fs::exists(node.InstallFolder() + "/files"));
}

TEST_F(PolicyOperationTest, ARemovalThatFailsForOnePolicyStillTellsOfTheOthersAndOfNothingElse) {
    PolicyListener consumer;
    for (const char* id : {"a", "b"}) node.Install(Policy(id));
    node->Notify("tester");
    consumer.Heard();
    fs::remove(node.InstallFolder() + "/files/a_header.xml");
    EXPECT_EQ(
        FailureOf<PolicyException>([this] { node->Remove("tester", Selection(), PolicyForwarder::Options()); }).id,
        114u);
    EXPECT_THAT(consumer.Heard(), ElementsAre("REMOVE_POLICY:files b"));
}

TEST_F(PolicyOperationTest, AFolderThatStillHoldsSomethingStaysWhenItsLastPolicyGoes) {
    node.Install(Policy("a"));
    std::ofstream(node.InstallFolder() + "/files/corrupt_header.xml") << "not lost";
    node.Remove(Selection());
    EXPECT_THAT(node.Installed(), ElementsAre("files/corrupt_header.xml"));
}

TEST_F(PolicyOperationTest, AnIdWithBlanksIsRemovedAloneNotAsAListOfIds) {
    for (const char* id : {"a", "b", "a b"}) node.Install(Policy(id));
    node.Remove(Selection().SetPolicyId("a b"));
    EXPECT_EQ(node.Ids(), "a b");
    EXPECT_EQ(node.List().GetCount(), 2);
}

TEST_F(PolicyOperationTest, ADataFileNameThatLeavesTheFolderIsNeverFollowed) {
    std::ofstream(node.Root().Native() + "/victim") << "keep";
    TestPolicy policy = Policy("a");
    policy.data = {{"../../victim", "x"}};
    fs::create_directories(node.InstallFolder() + "/files");
    std::ofstream(node.InstallFolder() + "/files/a_header.xml") << policy.Document();
    node->ReinitCache("tester");
    EXPECT_EQ(FailureOf<PolicyException>([this] { node.Remove(Selection()); }).id, 111u);
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/victim"), "keep");
}

TEST_F(PolicyOperationTest, AnInstalledDocumentCannotMakeARemovalLeaveTheStore) {
    std::ofstream(node.Root().Native() + "/x_header.xml") << "keep";
    TestPolicy byId = Policy("../../x");
    TestPolicy byType = Policy("x", "..");
    byId.data.clear();
    byType.data.clear();
    fs::create_directories(node.InstallFolder() + "/files");
    std::ofstream(node.InstallFolder() + "/files/1_header.xml") << byId.Document();
    std::ofstream(node.InstallFolder() + "/files/2_header.xml") << byType.Document();
    node->ReinitCache("tester");
    EXPECT_EQ(node.List().GetCount(), 2);
    EXPECT_EQ(FailureOf<PolicyException>([this] { node.Remove(Selection()); }).id, 113u);
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/x_header.xml"), "keep");
}

TEST_F(PolicyOperationTest, ATypeFolderThatBecameALinkIsNotFollowed) {
    node.Install(Policy("a"));
    fs::rename(node.InstallFolder() + "/files", node.Root().Native() + "/moved");
    fs::create_directory_symlink(node.Root().Native() + "/moved", node.InstallFolder() + "/files");
    EXPECT_EQ(FailureOf<PolicyException>([this] { node.Remove(Selection()); }).id, 111u);
    EXPECT_EQ(PolicyNode::FilesBelow(node.Root().Native() + "/moved").size(), 3u);
    EXPECT_TRUE(fs::is_symlink(node.InstallFolder() + "/files"));
}

TEST_F(PolicyOperationTest, ADataFileThatBecameALinkGoesAndItsTargetStays) {
    node.Install(Policy("a"));
    std::ofstream(node.Root().Native() + "/victim") << "keep";
    fs::permissions(node.Root().Native() + "/victim", fs::perms::owner_read);
    fs::remove(node.InstallFolder() + "/files/a.one");
    fs::create_symlink(node.Root().Native() + "/victim", node.InstallFolder() + "/files/a.one");
    node.Remove(Selection());
    EXPECT_THAT(node.Installed(), IsEmpty());
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/victim"), "keep");
    EXPECT_EQ(fs::status(node.Root().Native() + "/victim").permissions(), fs::perms::owner_read);
}

}  // namespace
}  // namespace LumConf
