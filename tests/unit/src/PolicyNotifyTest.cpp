// What the consumers hear of removals and changes, and when.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Exceptions.h"
#include "PolicyOperationTest.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(PolicyOperationTest, ARemovalWithoutNotificationQueuesWhatALaterNotifySends) {
    PolicyListener consumer;
    node.Install(Policy("a"));
    node->Notify("tester");
    consumer.Heard();
    node.Remove(Selection());
    EXPECT_THAT(consumer.Heard(), IsEmpty());
    node->Notify("tester");
    EXPECT_THAT(consumer.Heard(), ElementsAre("REMOVE_POLICY:files a", "LAST_POLICY:files "));
    EXPECT_EQ(node.Audited("Success Audit: NOTIFY"), 2);
}

TEST_F(PolicyOperationTest, ARemovalTellsOfTheRemovedAndOfTheLastPolicyOfATypeOnly) {
    PolicyListener consumer;
    for (const char* id : {"a", "b"}) node.Install(Policy(id));
    node.Install(Policy("c", "other"));
    node->Notify("tester");
    consumer.Heard();
    node->Remove("tester", Selection().SetPolicyId("a"), PolicyForwarder::Options());
    EXPECT_THAT(consumer.Heard(), ElementsAre("REMOVE_POLICY:files a"));
    node->Remove("tester", Selection(), PolicyForwarder::Options());
    EXPECT_THAT(consumer.Heard(), ElementsAre("REMOVE_POLICY:files b", "LAST_POLICY:files ", "REMOVE_POLICY:other c",
                                              "LAST_POLICY:other "));
}

TEST_F(PolicyOperationTest, ATypeWhoseLastPolicyGotASuccessorBeforeAnybodyWasToldHasLostAndGotNone) {
    PolicyListener consumer;
    node.Install(Policy("a"));
    node->Notify("tester");
    consumer.Heard();
    node.Remove(Selection());
    node.Install(Policy("b"));
    node->Notify("tester");
    EXPECT_THAT(consumer.Heard(), ElementsAre("CHECK_POLICY:files b", "REMOVE_POLICY:files a"));
    node->Remove("tester", Selection(), PolicyForwarder::Options());
    EXPECT_THAT(consumer.Heard(), ElementsAre("REMOVE_POLICY:files b", "LAST_POLICY:files "));
}

TEST_F(PolicyOperationTest, ALastPolicyThatComesBackBeforeAnybodyWasToldIsToldAsInstalledOnly) {
    PolicyListener consumer;
    node.Install(Policy("a"));
    node->Notify("tester");
    consumer.Heard();
    node.Remove(Selection());
    node.Install(Policy("a"));
    node->Notify("tester");
    EXPECT_THAT(consumer.Heard(), ElementsAre("CHECK_POLICY:files a"));
}

TEST_F(PolicyOperationTest, ATypeThatLostItsFirstPolicyBeforeAnybodyWasToldHasGotAndLostNone) {
    PolicyListener consumer;
    node.Install(Policy("a"));
    node.Remove(Selection());
    node->Notify("tester");
    EXPECT_THAT(consumer.Heard(), ElementsAre("REMOVE_POLICY:files a"));
    node.Install(Policy("b"));
    node->Notify("tester");
    EXPECT_THAT(consumer.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files b"));
}

TEST_F(PolicyOperationTest, NobodyHearsOfTheFirstAndTheLastPolicyOfSettings) {
    PolicyListener consumer;
    node.Install(Policy("a", "configsettings"));
    node->Notify("tester");
    node.Remove(Selection());
    node.Install(Policy("b", "configsettings"));
    node->Notify("tester");
    node.Remove(Selection());
    node.Install(Policy("c"));
    node->Notify("tester");
    EXPECT_THAT(consumer.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files c"));
}

TEST_F(PolicyOperationTest, ARemovalSucceedsThoughNobodyCanBeTold) {
    node.Install(Policy("a"));  // its own notification is still queued, and the service is not there
    node.Install(Policy("b"));
    EXPECT_NO_THROW(node->Remove("tester", Selection().SetPolicyId("a"), PolicyForwarder::Options()));
    EXPECT_EQ(node.Ids(), "b");
}

TEST_F(PolicyOperationTest, ANotifyThatReachesNobodyFailsAndAuditsIt) {
    node.Install(Policy("a"));
    EXPECT_EQ(FailureOf<LumCtrl::ControlException>([this] { node->Notify("tester"); }).id, 91u);
    EXPECT_EQ(node.Audited("Failure Audit: NOTIFY"), 1);
    EXPECT_EQ(node.Audited("Success Audit: NOTIFY"), 0);
}

TEST_F(PolicyOperationTest, NotifyOfStatusChangesLeavesInstallsInTheQueue) {
    PolicyListener consumer;
    node.Install(Policy("a"));
    node->NotifyEnableDisable("conf.cluster");
    EXPECT_THAT(consumer.Heard(), IsEmpty());
    EXPECT_EQ(node.Audited("NOTIFY"), 0) << "the cluster monitor's own operations are not audited";
    node->NotifyEnableDisable("tester");
    EXPECT_EQ(node.Audited("Success Audit: NOTIFY"), 1);
    node->Notify("tester");
    EXPECT_THAT(consumer.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a"));
}

TEST_F(PolicyOperationTest, WhetherPoliciesAreInstalledIsAnsweredWhileASynchronousTriggerWaitsForItsConsumer) {
    LumCtrl::Service service;
    service.Start();
    const String_t events[] = {"CHECK_POLICY:*"};
    LumCtrl::Component component("slow", events, 1);
    Configure("conf.core", "ASYNC_CONTROL_NOTIFY", "false");
    node.Restart();
    node.Install(Policy("a"));
    std::atomic<bool> sent{false};
    std::thread sender([&] {
        node->Notify("tester");
        sent = true;
    });
    String_t event, value;
    ASSERT_TRUE(component.Next(event, value, 10000));
    EXPECT_FALSE(sent);
    EXPECT_TRUE(node->IsPolicyInstalled());
    EXPECT_TRUE(node->IsPolicyTypeNameInstalled("files"));
    component.Acknowledge();
    sender.join();
    EXPECT_EQ(node.Audited("Success Audit: NOTIFY"), 1);
    service.Stop();
}

}  // namespace
}  // namespace LumConf
