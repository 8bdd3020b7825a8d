// Changes of the headers of installed policies: status and owner, and what all changes have in common.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "Exceptions.h"
#include "Faults.h"
#include "FlushFollower.h"
#include "LumPalFault.h"
#include "PolicyModifyTest.h"
#include "Raised.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;
using Options = PolicyForwarder::Options;

// Status

TEST_F(PolicyModifyTest, EnablingOneEnabledAndOneDisabledPolicyChangesOnlyTheSecond) {
    TestPolicy disabled = Policy("b");
    disabled.status = "disabled";
    Install({"a"});
    Install(disabled);
    const std::string before = Document("a");
    Status(Selection(), PolicyOperation::Enable);
    EXPECT_THAT(Queued(), ElementsAre("ENABLE_POLICY:files b"));
    EXPECT_EQ(Document("a"), before);
    EXPECT_EQ(node.Audited(Line("Success", "ENABLE", "b", "was successfully enabled. Calling system: 'tester'")), 1);
    EXPECT_EQ(node.Audited("ENABLE"), 1);
    EXPECT_TRUE(node.Get("b").IsEnabled());
    EXPECT_TRUE(Stored("b").IsEnabled());
}

TEST_F(PolicyModifyTest, EveryActionButEnableDisables) {
    int disabled = 0;
    for (int action : {static_cast<int>(PolicyOperation::Disable), 0, 3, -1, 2147483647}) {
        const std::string id = "p" + std::to_string(++disabled);
        Install(Policy(id));
        Status(Selection().SetPolicyId(String_t::FromUtf8(id)), action);
        EXPECT_THAT(Queued(), ElementsAre("DISABLE_POLICY:files " + id));
        EXPECT_TRUE(Stored(id.c_str()).IsDisabled());
        EXPECT_EQ(node.Audited(Line("Success", "DISABLE", id, "was successfully disabled.")), 1);
    }
}

TEST_F(PolicyModifyTest, EnablingPoliciesThatAreAllEnabledIsNothingToDoAndASuccessInTheAuditLog) {
    Install({"a", "b"});
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Enable), NoPolicyOperation, 116);
    EXPECT_EQ(node.Audited("Success Audit: ENABLE: Policy successfully enabled. Calling system: 'tester'"), 1);
    Status(Selection(), PolicyOperation::Disable);
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Disable), NoPolicyOperation, 116);
    EXPECT_EQ(node.Audited("Success Audit: DISABLE: Policy successfully disabled."), 1);
}

TEST_F(PolicyModifyTest, AStatusThatIsNeitherWordIsLeftAsItIs) {
    TestPolicy policy = Policy("a");
    policy.status = "parked";
    Install(policy);
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Enable), NoPolicyOperation, 116);
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Disable), NoPolicyOperation, 116);
    EXPECT_EQ(Stored("a").GetStatus(), "parked");
}

TEST_F(PolicyModifyTest, AStatusOfAnEmptyStoreOrOfNoSelectedPolicyLeavesNoAuditLine) {
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Enable), NoPoliciesInstalledError, 109);
    Install({"a"});
    EXPECT_RAISES(Status(Selection().SetPolicyOwner("nobody"), PolicyOperation::Disable), PolicyNotFoundError, 115);
    EXPECT_EQ(node.Audited("ABLE"), 0);
}

TEST_F(PolicyModifyTest, AnIdThatIsNotInstalledIsNotFound) {
    Install({"a"});
    const Selection other = Selection().SetPolicyId("b");
    EXPECT_RAISES(Status(other, PolicyOperation::Enable), PolicyNotFoundError, 63);
    EXPECT_RAISES(Owner("o", other), PolicyNotFoundError, 63);
    EXPECT_RAISES(AddCategory("c", other), PolicyNotFoundError, 63);
    EXPECT_RAISES(AddAttribute("k=v", other), PolicyNotFoundError, 63);
    EXPECT_THAT(Queued(), IsEmpty());
}

// Failures on the way

TEST_F(PolicyModifyTest, AfterAFailureThePoliciesBeforeItStayChangedAndItsOwnStatusIsInTheCacheAlone) {
    Install({"a", "b", "c"});
    const std::string document = node.InstallFolder() + "/files/b_header.xml";
    fs::rename(document, document + ".away");
    EXPECT_THROW(Status(Selection(), PolicyOperation::Disable), LumPalIo::FileNotFoundException_t);
    fs::rename(document + ".away", document);
    EXPECT_TRUE(node.Get("a").IsDisabled());
    EXPECT_TRUE(node.Get("b").IsDisabled());
    EXPECT_TRUE(node.Get("c").IsEnabled());
    EXPECT_EQ(node.Audited(Line("Success", "DISABLE", "a", "was")), 1);
    EXPECT_EQ(node.Audited(Line("Failure", "DISABLE", "b", "could not be disabled. Calling system: 'tester'")), 1);
    EXPECT_EQ(node.Audited("DISABLE"), 2);
    EXPECT_THAT(Queued(), ElementsAre("DISABLE_POLICY:files a"));
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_TRUE(Stored("a").IsDisabled());
    EXPECT_TRUE(node.Get("b").IsEnabled());
}

TEST_F(PolicyModifyTest, EachOperationAuditsItsFailureInItsOwnWay) {
    TestPolicy policy = Policy("a");
    policy.categories = {"c"};
    policy.attributes = {{"k", "v"}};
    const struct {
        const char* what;
        std::function<void()> run;
        std::string line;
    } rows[] = {
        {"owner", [this] { Owner("o"); }, Line("Failure", "MODIFY", "a", "owner could not be changed.")},
        {"add category", [this] { AddCategory("d"); },
         Line("Failure", "MODIFY", "a", "category could not be changed.")},
        {"remove category", [this] { RemoveCategory("c"); },
         Line("Failure", "MODIFY", "a", "category could not be changed.")},
        {"all categories", [this] { node->RemoveAllCategories("tester", Selection(), quiet); },
         Line("Failure", "MODIFY", "a", "category could not be changed.")},
        {"add attribute", [this] { AddAttribute("x=y"); },
         "Failure Audit: MODIFY: Policy attribute could not be modified. Calling system: 'tester'"},
        {"remove attribute", [this] { RemoveAttribute("k=v"); },
         "Failure Audit: MODIFY: Policy attribute could not be modified. Calling system: 'tester'"},
        {"all attributes", [this] { node->RemoveAllAttributes("tester", Selection(), quiet); },
         Line("Failure", "MODIFY", "a", "attribute could not be changed.")},
    };
    Install(policy);
    for (const auto& row : rows) {
        node->ReinitCache("tester");
        const int before = node.Audited(row.line), failures = node.Audited("Failure Audit");
        fs::rename(node.InstallFolder() + "/files/a_header.xml", node.InstallFolder() + "/aside");
        EXPECT_THROW(row.run(), LumPalIo::FileNotFoundException_t) << row.what;
        fs::rename(node.InstallFolder() + "/aside", node.InstallFolder() + "/files/a_header.xml");
        EXPECT_EQ(node.Audited(row.line), before + 1) << row.what;
        EXPECT_EQ(node.Audited("Failure Audit"), failures + 1) << row.what;
    }
}

// Owner

TEST_F(PolicyModifyTest, SetOwnerChangesThosePoliciesThatHaveAnotherOne) {
    TestPolicy owned = Policy("a");
    owned.owner = "ops";
    Install(owned);
    Install({"b"});
    Owner("ops");
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files b"));
    EXPECT_EQ(Stored("b").GetOwner(), "ops");
    EXPECT_EQ(node.Audited("MODIFY"), 0) << "a changed owner leaves no line";
}

TEST_F(PolicyModifyTest, AnOwnerThatIsAlreadySetIsNamedForOnePolicyAndForSeveral) {
    Install({"a", "b"});
    Owner("ops");
    const CaughtFailure one = FailureOf<NoPolicyOperation>([this] { Owner("ops", Selection().SetPolicyId("a")); });
    EXPECT_EQ(one.id, 119u);
    EXPECT_THAT(one.text, HasSubstr("The policy (name 'name of a', id 'a') already has the owner 'ops'."));
    const CaughtFailure all = FailureOf<NoPolicyOperation>([this] { Owner("ops"); });
    EXPECT_EQ(all.id, 120u);
    EXPECT_THAT(all.text, HasSubstr("The selected policies 'a b' already have the owner 'ops'."));
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy owner changed successfully. Calling system: 'tester'"), 2);
}

TEST_F(PolicyModifyTest, AnOwnerForNoPolicyIsNotFoundAlsoInAnEmptyStore) {
    EXPECT_RAISES(Owner("ops"), PolicyNotFoundError, 118);
    Install({"a"});
    EXPECT_RAISES(Owner("ops", Selection().SetPolicyOwner("nobody")), PolicyNotFoundError, 118);
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy owner changed successfully."), 2);
}

TEST_F(PolicyModifyTest, AnOwnerCanBeTakenAway) {
    TestPolicy owned = Policy("a");
    owned.owner = "ops";
    Install(owned);
    Owner("");
    EXPECT_EQ(Stored("a").GetOwner(), "");
}

// What all have in common

TEST_F(PolicyModifyTest, TheDataFilesAreTouchedByNoneOfThem) {
    TestPolicy policy = Policy("a");
    policy.categories = {"c"};
    policy.attributes = {{"k", "v"}};
    Install(policy);
    const std::string file = node.InstallFolder() + "/files/a.one";
    const auto written = fs::last_write_time(file);
    Status(Selection(), PolicyOperation::Disable);
    Owner("o");
    AddCategory("d");
    RemoveCategory("d");
    node->RemoveAllCategories("tester", Selection(), quiet);
    AddAttribute("x=y");
    RemoveAttribute("x=y");
    node->RemoveAllAttributes("tester", Selection(), quiet);
    EXPECT_EQ(fs::last_write_time(file), written);
    EXPECT_EQ(PolicyNode::Content(file), "1 of a");
    EXPECT_THAT(node.Installed(), ElementsAre("files/a.one", "files/a.two", "files/a_header.xml"));
    const PolicyHeader stored = Stored("a");
    EXPECT_TRUE(stored.IsDisabled());
    EXPECT_EQ(stored.GetOwner(), "o");
    EXPECT_EQ(stored.GetDataFileCount(), 2);
}

TEST_F(PolicyModifyTest, WithNotificationEachTellsAtOnce) {
    TestPolicy policy = Policy("a");
    Install(policy);
    const Options options;
    node->SetStatus("tester", Selection(), PolicyOperation::Disable, options);
    EXPECT_THAT(listener.Heard(), ElementsAre("DISABLE_POLICY:files a"));
    node->SetStatus("tester", Selection(), PolicyOperation::Enable, options);
    EXPECT_THAT(listener.Heard(), ElementsAre("ENABLE_POLICY:files a"));
    node->SetOwner("tester", "o", Selection(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->ModifyCategory("tester", "c", Selection(), options, PolicyOperation::AddCategory);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->RemoveAllCategories("tester", Selection(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->ModifyAttributes("tester", "k=v", Selection(), options, PolicyOperation::AddAttribute);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->RemoveAllAttributes("tester", Selection(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
}

TEST_F(PolicyModifyTest, WhatIsQueuedGoesOutAlsoWhenNothingChanged) {
    Install({"a"});
    AddCategory("c");
    EXPECT_THAT(listener.Heard(), IsEmpty());
    EXPECT_THROW(node->ModifyCategory("tester", "c", Selection(), Options(), PolicyOperation::AddCategory),
                 PolicyNotFoundError);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    AddAttribute("k=v");
    EXPECT_THROW(node->ModifyAttributes("tester", "k=v", Selection(), Options(), PolicyOperation::AddAttribute),
                 PolicyNotFoundError);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
}

TEST(PolicyModifyAlone, EachSucceedsThoughNobodyCanBeTold) {
    PolicyNode node;
    node.Install(Policy("a"));
    const Options options;
    EXPECT_NO_THROW(node->SetStatus("tester", Selection(), PolicyOperation::Disable, options));
    EXPECT_NO_THROW(node->SetOwner("tester", "o", Selection(), options));
    EXPECT_NO_THROW(node->ModifyCategory("tester", "c", Selection(), options, PolicyOperation::AddCategory));
    EXPECT_NO_THROW(node->RemoveAllCategories("tester", Selection(), options));
    EXPECT_NO_THROW(node->ModifyAttributes("tester", "k=v", Selection(), options, PolicyOperation::AddAttribute));
    EXPECT_NO_THROW(node->RemoveAllAttributes("tester", Selection(), options));
}

TEST(PolicyModifyOfManyTest, AChangeOfManyPoliciesFlushesThemTogether) {
    PolicyNode node(kFastFolder);
    for (int i = 0; i < 300; ++i) {
        TestPolicy policy;
        policy.id = "many-" + std::to_string(i);
        policy.name = policy.id;
        node.Install(policy);
    }
    const FlushFollower follower(node.Root().Native(), {"tmp"});
    node->SetOwner("tester", "together", Selection(), Options().SetNotify(false));
    EXPECT_THAT(follower.Faults(), testing::IsEmpty());
    // For each of two batches: the documents, the type's folder, the store's.
    EXPECT_LE(follower.Flushes(), 6);
    node.Restart();
    EXPECT_EQ(node.Get("many-299").GetOwner(), "together");
    EXPECT_THAT(node.Temporary(), testing::IsEmpty());
}

}  // namespace
}  // namespace LumConf
