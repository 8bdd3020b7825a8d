// How a monitor sees its cluster for the first time.
#include "Exceptions.h"
#include "LumPalDaemon.h"
#include "MonitoredNode.h"
#include "Raised.h"

namespace {

using LumConf::ClusterException;
using LumConfCluster::Applications;
using LumConfCluster::ClusterBase;
using LumPalMsg::IllegalStateError_t;

class MonitorStart : public MonitoredNode {
protected:
    MonitorStart() {
        sleep = [this](std::uint32_t ms) {
            slept.push_back(ms);
            if (onSleep) onSleep();
        };
    }
    ~MonitorStart() override { LumPalRuntime::SetStopping(false); }
    int Attempts() const { return static_cast<int>(cluster.tools.Count("haclus -value ClusterName")); }

    std::vector<std::uint32_t> slept;
    std::function<void()> onSleep;
};

using Pauses = std::vector<std::uint32_t>;

TEST_F(MonitorStart, AClusterThatIsUpIsSeenAtOnceAndInstallsAskItFromThenOn) {
    ClusterBase::SetClusterEnvDetected(false);
    Begin();
    EXPECT_TRUE(running);
    EXPECT_EQ(clusterType, "VERITAS Cluster Server (VCS)");
    EXPECT_TRUE(ClusterBase::GetClusterEnvDetected());
    EXPECT_EQ(slept, Pauses());
    EXPECT_EQ(log.Text(), "");
    Install("p", {"HARG:db"});
    EXPECT_EQ(StatusOf("p"), "disabled");
}

TEST_F(MonitorStart, WithoutAClusterItEndsAfterOneAttemptUnlessMoreAreConfigured) {
    LetClusterGoDown();
    struct Row {
        const char* retries;
        int attempts;
    };
    for (const Row& row : {Row{"", 1}, Row{"0", 1}, Row{"-7", 1}, Row{"some", 1}, Row{"1", 1}, Row{"3", 3}}) {
        Configure("conf.cluster", "MAX_RETRIES_FOR_CLUSTERUP", row.retries);
        cluster.tools.ForgetCalls();
        slept.clear();
        MakeMonitor();
        EXPECT_RAISES(monitor->Begin(), IllegalStateError_t, 622);
        EXPECT_FALSE(running);
        EXPECT_EQ(Attempts(), row.attempts) << row.retries;
        EXPECT_EQ(slept, Pauses(static_cast<std::size_t>(row.attempts - 1), 35000)) << "none behind the last attempt";
    }
    EXPECT_FALSE(ClusterBase::GetClusterEnvDetected());
}

TEST_F(MonitorStart, ItsEndIsLoggedWithTheReasonAlsoWhereTheNodeIsNotMonitored) {
    LetClusterGoDown();
    MakeMonitor();
    const auto messages = MessagesOf<IllegalStateError_t>([this] { monitor->Begin(); });
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(), "Illegal state error while creating policy operation object.");
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    EXPECT_EQ(CountOf(log.Text(), "Illegal state error while creating policy operation object."), 1);
    EXPECT_TRUE(log.Holds("Can not instantiate VERITAS Cluster Server object.")) << log.Text();
    int times = 1;
    for (const char* mode : {"false", ""}) {
        Configure("conf.cluster", "MONITOR_MODE", mode);
        MakeMonitor();
        EXPECT_THROW(monitor->Begin(), IllegalStateError_t);
        EXPECT_EQ(CountOf(log.Text(), "Illegal state error"), ++times) << mode;
    }
}

TEST_F(MonitorStart, AClusterThatComesUpBetweenTwoAttemptsIsSeen) {
    LetClusterGoDown();
    Configure("conf.cluster", "MAX_RETRIES_FOR_CLUSTERUP", "5");
    onSleep = [this] {
        if (slept.size() == 2) LetClusterComeBack();
    };
    Begin();
    EXPECT_TRUE(running);
    EXPECT_EQ(slept, Pauses(2, 35000));
}

TEST_F(MonitorStart, AnotherProductThanTheConfiguredOneIsNoCluster) {
    Configure("conf.cluster", "CLUSTER_TYPE", "Sun Cluster (SC)");
    MakeMonitor();
    EXPECT_RAISES(monitor->Begin(), IllegalStateError_t, 622);
}

TEST_F(MonitorStart, PoliciesThatCannotBeBroughtUpCountAsAClusterThatIsNotThere) {
    Configure("conf.cluster", "MAX_RETRIES_FOR_CLUSTERUP", "3");
    int asked = 0;
    policies = [&]() -> LumConf::PolicyOperation* {
        if (++asked == 1) throw std::bad_alloc();
        throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("no room for folders"));
    };
    MakeMonitor();
    EXPECT_RAISES(monitor->Begin(), IllegalStateError_t, 622);
    EXPECT_EQ(asked, 3);
    EXPECT_FALSE(running);
    EXPECT_TRUE(log.Holds("no room for folders"));
    EXPECT_EQ(clusterType, "");
    EXPECT_FALSE(ClusterBase::GetClusterEnvDetected());
}

TEST_F(MonitorStart, GroupsAndApplicationsThatCannotBeReadAreNoReasonNotToStart) {
    config.List("<Wrong/>");
    Begin();
    EXPECT_TRUE(running);
    cluster.tools.Answer("hagrp -display -attribute SystemList", "", 1);
    Begin();
    EXPECT_TRUE(running);
    EXPECT_EQ(clusterType, "VERITAS Cluster Server (VCS)");
}

TEST_F(MonitorStart, EachToolThatFailsEndsTheStartOrIsPassedOver) {
    Write({{"shop", {{"one", "web"}}, {"p"}}});
    for (std::size_t number = 1;; ++number) {
        cluster.tools.ForgetCalls();
        cluster.tools.FailAt(number);
        MakeMonitor();
        try {
            monitor->Begin();
            EXPECT_TRUE(running) << number;
        } catch (const IllegalStateError_t& e) {
            EXPECT_EQ(e.GetMessageList().GetMessage(0).GetId(), 622u);
            EXPECT_FALSE(running) << number;
        }
        if (cluster.tools.Calls().size() < number) break;
        ASSERT_LT(number, 1000u);
    }
    cluster.tools.FailAt(0);
}

TEST_F(MonitorStart, AStopBetweenTwoAttemptsLetsNoFurtherOneBeginAndIsNoReasonToHideTheFailure) {
    LetClusterGoDown();
    Configure("conf.cluster", "MAX_RETRIES_FOR_CLUSTERUP", "100");
    onSleep = [this] { running = false; };
    MakeMonitor();
    EXPECT_RAISES(monitor->Begin(), IllegalStateError_t, 622);
    EXPECT_FALSE(running);
    EXPECT_EQ(slept.size(), 1u);
    EXPECT_TRUE(log.Holds("Illegal state error while creating policy operation object."));
}

TEST_F(MonitorStart, AStopOfTheProcessBetweenTwoAttemptsEndsItWithoutAWord) {
    LetClusterGoDown();
    Configure("conf.cluster", "MAX_RETRIES_FOR_CLUSTERUP", "100");
    onSleep = [] { LumPalRuntime::SetStopping(true); };
    MakeMonitor();
    EXPECT_NO_THROW(monitor->Begin());
    EXPECT_FALSE(running);
    EXPECT_EQ(slept.size(), 1u);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(MonitorStart, WhateverIsThrownCountsAsAClusterThatIsNotThere) {
    policies = []() -> LumConf::PolicyOperation* { throw 7; };
    MakeMonitor();
    EXPECT_RAISES(monitor->Begin(), IllegalStateError_t, 622);
}

TEST_F(MonitorStart, WhatToolsSayThatAStoppingProcessHasEndedIsNotBelieved) {
    Write({{"shop", {{"one", "web"}}, {}}});
    bool looked = false;
    seen = [&](const Applications&) { looked = true; };
    policies = [this] {
        LumPalRuntime::SetStopping(true);
        return &node.Operation();
    };
    MakeMonitor();
    EXPECT_NO_THROW(monitor->Begin());
    EXPECT_FALSE(running);
    EXPECT_FALSE(looked);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(MonitorStart, AConfigurationThatCannotBeReadEndsIt) {
    WriteText(node.Root().Native() + "/etc/pal/config/local_settings.ini", "neither\n");
    MakeMonitor();
    EXPECT_THROW(monitor->Begin(), LumPalMsg::RuntimeException_t);
}

TEST_F(MonitorStart, WhoAsksIsToldOfTheInstancesThatWereFound) {
    Write({{"shop", {{"one", "web"}, {"two", "db"}}, {}}});
    Move("db", "north");
    std::string sides;
    seen = [&](const Applications& applications) {
        for (int i = 0; i < 2; ++i) sides += applications[0].GetInstances()[i].IsActiveNodeLocal() ? "here " : "away ";
    };
    Begin();
    EXPECT_EQ(sides, "away here ");
}

}  // namespace
