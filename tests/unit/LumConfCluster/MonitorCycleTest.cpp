// What goes wrong in a cycle of the monitor, and what a cycle costs.
#include "Exceptions.h"
#include "Faults.h"
#include "LumPalDaemon.h"
#include "MonitoredNode.h"
#include "Raised.h"

namespace {

using LumConf::ClusterException;
using LumConf::ConfException;

class MonitorCycles : public MonitoredNode {
protected:
    MonitorCycles() {
        // As few tools as can be: some tests run a cycle for each of them.
        cluster.tools.Answer("hasys -list", "north\nsouth\n");
        cluster.tools.Answer("hagrp -display -attribute SystemList", "#Group Attribute\nweb SystemList\n");
        Install("listed");
        Install("grouped", {"HARG:web"});
        Write({{"shop", {{"one", "web"}}, {"listed"}, {Note("start")}, {Note("stop")}}});
    }
    ~MonitorCycles() override { LumPalRuntime::SetStopping(false); }
    std::string Statuses() { return StatusOf("listed") + " " + StatusOf("grouped"); }
    std::string StoredStatuses() { return StoredStatusOf("listed") + " " + StoredStatusOf("grouped"); }
};

TEST_F(MonitorCycles, WithoutMonitorModeNoToolRunsAndNoStatusChanges) {
    Begin();
    Configure("conf.cluster", "MONITOR_MODE", "false");
    Configure("conf.cluster", "POLLING_INTERVAL", "77");
    Move("web", "north");
    cluster.tools.ForgetCalls();
    const std::string before = Statuses();
    for (int i = 0; i < 3; ++i) Step();
    EXPECT_EQ(cluster.tools.Calls().size(), 0u);
    EXPECT_EQ(Statuses(), before);
    EXPECT_EQ(Notes(), "");
    EXPECT_FALSE(monitorMode);
    EXPECT_EQ(pollingInterval, 77) << "the keys are followed all the same";
    Configure("conf.cluster", "MONITOR_MODE", "yes");
    Step();
    EXPECT_EQ(Statuses(), "enabled enabled");
    EXPECT_EQ(Notes(), "start one\n") << "it came since the last look";
}

TEST_F(MonitorCycles, TheIntervalIsTakenUpInEachCycleAndIsOneMillisecondAtLeast) {
    Begin();
    EXPECT_EQ(pollingInterval, 10000);
    struct Row {
        const char* text;
        int ms;
    };
    for (const Row& row :
         {Row{"0", 1}, Row{"-3", 1}, Row{"words", 1}, Row{"1", 1}, Row{"2500", 2500}, Row{"99999999999", 2147483647}}) {
        Configure("conf.cluster", "POLLING_INTERVAL", row.text);
        Step();
        EXPECT_EQ(pollingInterval, row.ms) << row.text;
    }
}

TEST_F(MonitorCycles, AClusterThatGoesDownIsToldInEachCycleAndFollowedAgainWhenItIsBack) {
    Begin();
    Step();
    LetClusterGoDown();
    Move("web", "north");
    for (int i = 0; i < 3; ++i) Step();
    EXPECT_TRUE(running);
    EXPECT_EQ(CountOf(log.Text(), "ERROR ClusterException in monitor thread."), 3);
    EXPECT_TRUE(log.Holds("Can not instantiate VERITAS Cluster Server object."));
    EXPECT_EQ(Statuses(), "disabled disabled");
    LetClusterComeBack();
    Step();
    EXPECT_EQ(Statuses(), "enabled enabled");
    EXPECT_EQ(Notes(), "start one\n");
}

TEST_F(MonitorCycles, AFailureOfPolicyWorkEndsItsCycleAlone) {
    bool fails = false;
    list = [&](LumConf::PolicyOperation& policies) {
        if (fails) throw ConfException(LumPalMsg::CreateError_t("policy work failed"));
        return LumConfCluster::ListInstalled(policies);
    };
    Begin();
    Step();
    fails = true;
    Move("web", "north");
    Step();
    EXPECT_TRUE(running);
    EXPECT_EQ(CountOf(log.Text(), "ERROR Config exception in monitor thread."), 1);
    EXPECT_TRUE(log.Holds("policy work failed"));
    EXPECT_EQ(Statuses(), "enabled disabled") << "what comes behind the failure is not done";
    fails = false;
    Step();
    EXPECT_EQ(Statuses(), "enabled enabled");
    EXPECT_EQ(Notes(), "start one\n") << "once";
}

TEST_F(MonitorCycles, AFailureBeforeTheLookWasFollowedLeavesTheFormerOneInPlace) {
    Begin();
    Step();
    Move("web", "north");
    cluster.tools.Answer("hagrp -display -attribute SystemList", "", 1);
    Step();
    EXPECT_EQ(CountOf(log.Text(), "ERROR ClusterException in monitor thread."), 1);
    EXPECT_EQ(Notes() + Statuses(), "disabled disabled");
    cluster.tools.Answer("hagrp -display -attribute SystemList", "#Group Attribute\nweb SystemList\n");
    Step();
    EXPECT_EQ(Notes(), "start one\n") << "it is held against the last look that was followed";
    EXPECT_EQ(Statuses(), "enabled enabled");
}

TEST_F(MonitorCycles, AFailureOfPolicyWorkBeforeTheLookWasFollowedLeavesTheFormerOneInPlace) {
    Begin();
    Step();
    commandsBegin = [] { throw ConfException(LumPalMsg::CreateError_t("policy work failed")); };
    Move("web", "north");
    Step();
    EXPECT_TRUE(running);
    EXPECT_EQ(CountOf(log.Text(), "ERROR Config exception in monitor thread."), 1);
    EXPECT_TRUE(log.Holds("policy work failed"));
    EXPECT_EQ(Notes() + Statuses(), "disabled disabled") << "no status is changed in such a cycle";
    commandsBegin = [] {};
    Step();
    EXPECT_EQ(Notes(), "start one\n") << "it is held against the last look that was followed";
    EXPECT_EQ(Statuses(), "enabled enabled");
}

TEST_F(MonitorCycles, AFailureOfTheClusterBehindTheCommandsDoesNotLetThemRunAgain) {
    Begin();
    Step();
    seen = [](const LumConfCluster::Applications&) {
        throw ClusterException(LumPalMsg::CreateError_t("the cluster is gone"));
    };
    Move("web", "north");
    Step();
    EXPECT_EQ(CountOf(log.Text(), "ERROR ClusterException in monitor thread."), 1);
    EXPECT_EQ(Statuses(), "enabled disabled");
    seen = [](const LumConfCluster::Applications&) {};
    Step();
    EXPECT_EQ(Notes(), "start one\n") << "once";
    EXPECT_EQ(Statuses(), "enabled enabled");
}

TEST_F(MonitorCycles, AnyOtherFailureEndsTheMonitorWithItsReason) {
    Begin();
    seen = [](const LumConfCluster::Applications&) {
        throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("the disk is gone"));
    };
    const auto messages = MessagesOf<ClusterException>([this] { Step(); });
    EXPECT_EQ(messages.GetMessage(0).GetId(), 270u);
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(), "Exception in monitor thread.");
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    EXPECT_FALSE(running);
    EXPECT_EQ(CountOf(log.Text(), "ERROR Exception in monitor thread."), 1);
    EXPECT_TRUE(log.Holds("the disk is gone"));
}

TEST_F(MonitorCycles, WhatHindersItIsToldUntilItDoesNotAnyMore) {
    Begin();
    Step();
    EXPECT_EQ(watcher.hindrance, "");
    LetClusterGoDown();
    Step();
    EXPECT_NE(watcher.hindrance.find("ClusterException in monitor thread."), std::string::npos);
    EXPECT_NE(watcher.hindrance.find("Can not instantiate VERITAS Cluster Server object."), std::string::npos);
    Configure("conf.cluster", "MONITOR_MODE", "false");
    Step();
    EXPECT_EQ(watcher.hindrance, "MONITOR_MODE of conf.cluster is off.");
    Configure("conf.cluster", "MONITOR_MODE", "true");
    LetClusterComeBack();
    Step();
    EXPECT_EQ(watcher.hindrance, "");
}

TEST_F(MonitorCycles, WithoutAnyPolicyItGoesOnAndSaysNothing) {
    Begin();
    for (const char* id : {"listed", "grouped"}) node.Remove(LumConf::Selection().SetPolicyId(id));
    ASSERT_FALSE(node->IsPolicyInstalled());
    Step();
    EXPECT_TRUE(running);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(MonitorCycles, WhatALookHasSwitchedIsReportedAlsoWhenTheListOfPoliciesIsNotThere) {
    const LumPalMsg::Message_t words = LumPalMsg::CreateError_t("words");
    for (const bool anyInstalled : {false, true}) {
        list = [&](LumConf::PolicyOperation&) -> LumConf::PolicyContainer {
            if (anyInstalled) throw LumConf::PolicyNotFoundError(words);
            throw LumConf::NoPoliciesInstalledError(words);
        };
        Move("web", "south");
        Install("listed");
        Begin();
        Step();
        ForgetQueue();
        PolicyListener listener;
        Move("web", "north");
        Step();
        EXPECT_EQ(listener.Heard(), std::vector<std::string>{"ENABLE_POLICY:files listed"}) << anyInstalled;
        EXPECT_EQ(watcher.hindrance, "") << "the cycle goes on";
    }
    EXPECT_EQ(log.Text().find("words"), std::string::npos);
}

TEST_F(MonitorCycles, WhatALookHasSwitchedIsReportedAlsoWhenTheStoreIsEmptyBehindIt) {
    Begin();
    Step();
    ForgetQueue();
    PolicyListener listener;
    seen = [this](const LumConfCluster::Applications&) {
        std::filesystem::remove_all(node.InstallFolder() + "/files");
        node->ReinitCache("tester");
    };
    Move("web", "north");
    Step();
    ASSERT_FALSE(node->IsPolicyInstalled());
    EXPECT_EQ(listener.Heard(), std::vector<std::string>{"ENABLE_POLICY:files listed"});
    EXPECT_EQ(watcher.hindrance, "");
}

TEST_F(MonitorCycles, FailuresAreLoggedOnlyWhereTheNodeIsMonitored) {
    Begin();
    seen = [](const LumConfCluster::Applications&) {
        // Somebody switches it off in the middle of a cycle.
        Configure("conf.cluster", "MONITOR_MODE", "false");
        throw ClusterException(LumPalMsg::CreateError_t("words"));
    };
    Step();
    EXPECT_EQ(log.Text(), "");
    Configure("conf.cluster", "MONITOR_MODE", "true");
    Step();
    EXPECT_EQ(log.Text(), "");
    EXPECT_TRUE(running);
}

TEST_F(MonitorCycles, AConfigurationThatCannotBeReadEndsTheMonitorAndIsTold) {
    Begin();
    WriteText(node.Root().Native() + "/etc/pal/config/local_settings.ini", "neither\n");
    EXPECT_RAISES(Step(), ClusterException, 270);
    EXPECT_FALSE(running);
    EXPECT_TRUE(log.Holds("Exception in monitor thread."));
    EXPECT_TRUE(log.Holds("local_settings.ini"));
}

TEST_F(MonitorCycles, AWriteBackThatFailsEndsTheMonitor) {
    struct Row {
        const char* key;
        const char* value;
    };
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "127.0.0.1:1");  // nobody listens there
    for (const Row& row : {Row{"POLLING_INTERVAL", ""}, Row{"MONITOR_MODE", ""}, Row{"CLUSTER_TYPE", "odd"}}) {
        Configure("conf.cluster", "POLLING_INTERVAL", "1");
        Configure("conf.cluster", "MONITOR_MODE", "true");
        Configure("conf.cluster", "CLUSTER_TYPE", "VERITAS Cluster Server (VCS)");
        Configure("conf.cluster", row.key, row.value);
        Begin();
        EXPECT_RAISES(Step(), ClusterException, 270);
        EXPECT_FALSE(running) << row.key;
    }
}

TEST_F(MonitorCycles, AfterEachToolThatFailsTheNextCycleSetsThingsRight) {
    Begin();
    Step();
    Move("web", "north");
    std::size_t number = 0;
    for (bool met = true; met;) {
        ++number;
        ASSERT_LT(number, 1000u);
        cluster.tools.ForgetCalls();
        cluster.tools.FailAt(number);
        EXPECT_NO_THROW(Step()) << number;
        met = cluster.tools.Calls().size() >= number;
        cluster.tools.FailAt(0);
        Step();
        EXPECT_EQ(Statuses(), "enabled enabled") << number;
        EXPECT_TRUE(running) << number;
    }
    EXPECT_GT(number, 5u);
}

TEST_F(MonitorCycles, AfterEachFileOperationThatFailsASuccessorSetsThingsRight) {
    Begin();
    Step();
    const char* const sides[] = {"south", "north"};
    int number = 0;
    ForEachFault([&](int nth) {
        const bool here = nth % 2 == 1;
        Move("web", sides[here]);
        Faults faults(nth);
        bool ended = false;
        try {
            Step();
        } catch (const ClusterException& e) {
            EXPECT_EQ(e.GetMessageList().GetMessage(0).GetId(), 270u);
            ended = true;
        }
        EXPECT_EQ(running, !ended) << faults.Failed();
        const bool fired = faults.Fired();
        faults.Stop();
        if (ended) Begin();
        Step();
        const std::string expected = here ? "enabled enabled" : "disabled disabled";
        EXPECT_EQ(Statuses(), expected) << nth;
        EXPECT_EQ(StoredStatuses(), expected) << nth << " " << faults.Failed();
        number = nth;
        return fired;
    });
    EXPECT_GT(number, 5);
}

std::atomic<int> fileChanges{0};

TEST_F(MonitorCycles, ACycleThatChangesNothingWritesNothingAndNotifiesNobody) {
    Move("web", "north");
    Begin();
    Step();
    ForgetQueue();
    PolicyListener listener;
    const std::string said = log.Text();
    LumPalIo::SetFileObserverForTest([](const char*, const char*, const char*) { ++fileChanges; });
    fileChanges = 0;
    for (int i = 0; i < 5; ++i) Step();
    EXPECT_EQ(fileChanges, 0);
    LumPalIo::SetFileObserverForTest(nullptr);
    EXPECT_EQ(listener.Heard(), std::vector<std::string>());
    EXPECT_EQ(log.Text(), said);
    EXPECT_EQ(Notes(), "");
}

TEST_F(MonitorCycles, TheGroupsAreAskedForOnceInACycleHoweverManyPoliciesThereAre) {
    Begin();
    cluster.tools.ForgetCalls();
    Step();
    const std::size_t few = cluster.tools.Calls().size();
    LumConfCluster::ClusterBase::SetClusterEnvDetected(false);  // the installs need not ask
    for (int i = 0; i < 50; ++i) Install("p" + std::to_string(i), {"HARG:web", "HARG:db"}, "disabled");
    cluster.tools.ForgetCalls();
    Step();
    EXPECT_EQ(cluster.tools.Calls().size(), few);
}

TEST_F(MonitorCycles, PoliciesThatComeAndGoInTheMiddleOfACycleDoNotEndIt) {
    Begin();
    for (int round = 0; round < 20; ++round) {
        Move("web", round % 2 ? "north" : "south");
        seen = [&](const LumConfCluster::Applications&) {
            Install("extra" + std::to_string(round), {"HARG:web"});
            const std::string gone = round % 3 ? "extra" + std::to_string(round) : "listed";
            node.Remove(LumConf::Selection().SetPolicyId(LumPalStr::String_t::FromUtf8(gone)));
            if (round % 3 == 0) Install("listed");
        };
        EXPECT_NO_THROW(Step());
    }
    seen = [](const LumConfCluster::Applications&) {};
    Move("web", "north");
    Step();
    EXPECT_EQ(Statuses(), "enabled enabled");
    EXPECT_TRUE(running);
}

TEST_F(MonitorCycles, WhatALookSaysOnceTheProcessStopsIsNotBelieved) {
    Move("web", "north");
    Begin();
    Step();
    EXPECT_EQ(Statuses(), "enabled enabled");
    LumPalRuntime::SetStopping(true);
    Step();
    EXPECT_EQ(Statuses(), "enabled enabled") << "no tool ran, so no group was seen to be here";
    EXPECT_EQ(Notes(), "");
    EXPECT_TRUE(running);
}

}  // namespace
