// The monitor as a thread: its states, and who may start it.
#include "LumConfCluster/ClusterMonitor.h"

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Configure.h"
#include "Exceptions.h"
#include "Raised.h"
#include "TempRoot.h"

namespace {

using LumConf::ClusterMonitorException;
using LumConfCluster::ClusterMonitor;

class MonitorThread : public testing::Test {
protected:
    TempRoot root;
    CapturedLog log{root.Native()};
    ClusterMonitor monitor;
};

TEST_F(MonitorThread, WhatWasNeverStartedCannotBeStopped) {
    EXPECT_FALSE(monitor.IsRunning());
    EXPECT_RAISES(monitor.Stop(), ClusterMonitorException, 250);
    EXPECT_RAISES(monitor.Stop(), ClusterMonitorException, 250);
    EXPECT_TRUE(log.Holds("WARNING Cluster monitor is not running.")) << "also where the node is not monitored";
    const auto messages = MessagesOf<ClusterMonitorException>([this] { monitor.Stop(); });
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(), "Cluster monitor is not running.");
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Warning);
}

TEST_F(MonitorThread, ItIsStartedOnceWhateverBecomesOfIt) {
    Configure("conf.cluster", "MONITOR_MODE", "true");
    monitor.Start();
    const auto messages = MessagesOf<ClusterMonitorException>([this] { monitor.Start(); });
    EXPECT_EQ(messages.GetMessage(0).GetId(), 247u);
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(), "Only one cluster monitor can be running at a time.");
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    EXPECT_TRUE(log.Holds("ERROR Only one cluster monitor can be running at a time."));
    EXPECT_TRUE(Eventually([this] { return !monitor.IsRunning(); })) << "there is no cluster";
    EXPECT_RAISES(monitor.Start(), ClusterMonitorException, 247);
    EXPECT_NO_THROW(monitor.Stop());
    EXPECT_NO_THROW(monitor.Stop());
    EXPECT_RAISES(monitor.Start(), ClusterMonitorException, 247);
    EXPECT_FALSE(monitor.IsRunning());
}

TEST_F(MonitorThread, WhereTheNodeIsNotMonitoredASecondStartIsRefusedWithoutALine) {
    for (const char* mode : {"", "false"}) {
        Configure("conf.cluster", "MONITOR_MODE", mode);
        ClusterMonitor another;
        another.Start();
        EXPECT_RAISES(another.Start(), ClusterMonitorException, 247);
        another.Stop();
        EXPECT_RAISES(another.Start(), ClusterMonitorException, 247);
    }
    EXPECT_FALSE(log.Holds("Only one cluster monitor")) << log.Text();
    Configure("conf.cluster", "MONITOR_MODE", "true");
    ClusterMonitor another;
    another.Start();
    EXPECT_RAISES(another.Start(), ClusterMonitorException, 247);
    EXPECT_TRUE(log.Holds("Only one cluster monitor"));
    another.Stop();
}

TEST_F(MonitorThread, WhereNoClusterIsItEndsAndTheProcessGoesOn) {
    Configure("conf.cluster", "MONITOR_MODE", "true");
    monitor.Start();
    EXPECT_TRUE(Eventually([this] { return log.Holds("An exception ended the thread"); }));
    monitor.Stop();
    EXPECT_TRUE(log.Holds("Illegal state error while creating policy operation object."));
    EXPECT_TRUE(log.Holds("Cluster environment is not detected.")) << log.Text();
    EXPECT_TRUE(log.Holds("LumConfCluster_ClusterMonitor"));
}

}  // namespace
