#include "lumconfd/MonitorKeeper.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <vector>

#include "CapturedLog.h"
#include "Configure.h"
#include "Faults.h"
#include "Files.h"
#include "LumPalDaemon.h"
#include "TempRoot.h"
#include "lumconfd/ClusterFound.h"

namespace {

using LumConfCluster::ClusterType;
using lumconfd::MonitorKeeper;
using lumconfd::MonitorRecord;
using lumconfd::SuccessorPauses;
using lumconfd::WatchedMonitor;
using LumPalThread::Bell_t;
using lumtools::MonitorState;
using std::chrono::seconds;

constexpr auto kProduct = ClusterType::Vcs;

LumPalConfig::Configuration_t Keys() {
    return LumPalConfig::ConfigNamespace_t("conf.cluster").Open();
}

/// Ends as it is told, or runs until it is stopped.
class ScriptedMonitor : public WatchedMonitor {
public:
    ScriptedMonitor(MonitorRecord& record, Bell_t& ended, bool fails) : WatchedMonitor(record, ended), fails(fails) {}

protected:
    void Watch(const LumPalThread::Thread_t&) override {
        Seen(LumConfCluster::Applications(), Look::Whole);
        if (fails) throw LumPalMsg::IllegalStateError_t(LumPalMsg::CreateError_t("it broke"));
        while (IsRunning()) LumPalThread::Thread_t::Sleep(1);
    }

private:
    const bool fails;
};

class MonitorKeepers : public testing::Test {
protected:
    /// @param failing  how many monitors end by themselves
    void Keep(int failing) {
        keeper = std::make_unique<MonitorKeeper>(
            kProduct,
            MonitorKeeper::Surroundings{[this] { return now.load(); },
                                        [this](Bell_t&, seconds time) {
                                            const std::lock_guard lock(mutex);
                                            pauses.push_back(time.count());
                                            phases.push_back(MonitorState::Read().value_or(MonitorState()).phase);
                                        },
                                        [this, failing](MonitorRecord& record, Bell_t& bell) {
                                            return std::make_unique<ScriptedMonitor>(record, bell, made++ < failing);
                                        }});
    }
    static MonitorState::Phase PhaseNow() { return MonitorState::Read().value_or(MonitorState()).phase; }
    bool IsWatching() {
        return Eventually([] { return PhaseNow() == MonitorState::Phase::Watching; });
    }

    const TempRoot root;
    CapturedLog log{root.Native()};
    std::atomic<std::int64_t> now{1000};
    std::atomic<int> made{0};
    std::mutex mutex;
    std::vector<std::int64_t> pauses;  ///< guarded by mutex, as the next one
    std::vector<MonitorState::Phase> phases;
    std::unique_ptr<MonitorKeeper> keeper;
};

TEST(SuccessorPause, DoublesUpToFiveMinutesAndBeginsAnewBehindAMonitorThatLived) {
    SuccessorPauses pauses;
    for (const int expected : {10, 20, 40, 80, 160, 300, 300}) EXPECT_EQ(pauses.After(seconds(299)), seconds(expected));
    EXPECT_EQ(pauses.After(seconds(300)), seconds(10));
    EXPECT_EQ(pauses.After(seconds(0)), seconds(20));
}

TEST_F(MonitorKeepers, WithoutAProductNothingIsSaidAndNothingIsMade) {
    MonitorKeeper none(std::nullopt, {});
    EXPECT_TRUE(none.WaitForEnd(std::chrono::milliseconds(0)));
    none.Stop();
    EXPECT_EQ(log.Text(), "");
    EXPECT_FALSE(std::filesystem::exists(root.Native() + "/spool"));
    EXPECT_FALSE(std::filesystem::exists(root.Native() + "/etc"));
}

TEST_F(MonitorKeepers, TheProductIsToldAndTheKeysAreFilledBeforeTheMonitorStarts) {
    Keep(0);
    ASSERT_TRUE(IsWatching());
    EXPECT_EQ(Keys().GetValue("CLUSTER_TYPE"), "VERITAS Cluster Server (VCS)");
    EXPECT_EQ(Keys().GetValue("POLLING_INTERVAL"), "10000");
    EXPECT_EQ(Keys().GetValue("MONITOR_MODE"), "TRUE");
    EXPECT_TRUE(
        log.Holds("The cluster product 'VERITAS Cluster Server (VCS)' is followed: '/opt/VRTSvcs/bin/had' is there."));
    EXPECT_TRUE(
        log.Holds("Settings of conf.cluster that were empty are set: CLUSTER_TYPE=VERITAS Cluster Server (VCS), "
                  "POLLING_INTERVAL=10000, MONITOR_MODE=TRUE"));
    keeper->Stop();
    EXPECT_TRUE(keeper->WaitForEnd(std::chrono::seconds(30)));
    EXPECT_EQ(PhaseNow(), MonitorState::Phase::Stopped);
    EXPECT_EQ(made, 1);
}

TEST_F(MonitorKeepers, AMonitorThatEndsGetsASuccessorAfterEachPause) {
    Keep(4);
    ASSERT_TRUE(Eventually([this] { return made == 5; }));
    ASSERT_TRUE(IsWatching());
    keeper.reset();
    EXPECT_EQ(pauses, (std::vector<std::int64_t>{10, 20, 40, 80}));
    EXPECT_EQ(phases, std::vector<MonitorState::Phase>(4, MonitorState::Phase::Waiting));
    const std::string text = log.Text();
    for (const char* line : {"A successor starts in 10 seconds.", "A successor starts in 20 seconds.",
                             "A successor starts in 40 seconds.", "A successor starts in 80 seconds."})
        EXPECT_NE(text.find(line), std::string::npos) << line;
    EXPECT_NE(text.find("it broke"), std::string::npos);
    EXPECT_NE(MonitorState::Read()->endedBy.find("it broke"), std::string::npos);
}

TEST_F(MonitorKeepers, AStopInTheMiddleOfAPauseMakesNoSuccessor) {
    std::atomic<bool> pausing{false};
    MonitorKeeper stopped(kProduct, {[] { return std::int64_t{0}; },
                                     [&](Bell_t& bell, seconds) {
                                         pausing = true;
                                         bell.Pause(std::chrono::hours(1));
                                     },
                                     [this](MonitorRecord& record, Bell_t& bell) {
                                         ++made;
                                         return std::make_unique<ScriptedMonitor>(record, bell, true);
                                     }});
    ASSERT_TRUE(Eventually([&] { return pausing.load(); }));
    stopped.Stop();
    EXPECT_TRUE(stopped.WaitForEnd(std::chrono::seconds(30)));
    EXPECT_EQ(made, 1);
    EXPECT_EQ(PhaseNow(), MonitorState::Phase::Stopped);
}

TEST_F(MonitorKeepers, AMonitorThatCannotBeMadeIsTriedAgain) {
    std::atomic<int> tries{0};
    MonitorKeeper again(
        kProduct, {[] { return std::int64_t{0}; }, [this](Bell_t&, seconds time) { pauses.push_back(time.count()); },
                   [&](MonitorRecord& record, Bell_t& bell) -> std::unique_ptr<WatchedMonitor> {
                       if (++tries < 4) throw std::bad_alloc();
                       return std::make_unique<ScriptedMonitor>(record, bell, false);
                   }});
    EXPECT_TRUE(IsWatching());
    EXPECT_EQ(tries, 4);
    again.Stop();
    EXPECT_TRUE(again.WaitForEnd(std::chrono::seconds(30)));
    EXPECT_EQ(pauses, (std::vector<std::int64_t>{10, 20, 40})) << "as behind a monitor that has ended";
    EXPECT_TRUE(log.Holds("The cluster cannot be followed at present"));
}

/// Ends by itself after as long as it is told, with or without having seen the cluster.
class BriefMonitor : public WatchedMonitor {
public:
    BriefMonitor(MonitorRecord& record, Bell_t& ended, std::atomic<int>& time, bool sees)
        : WatchedMonitor(record, ended, [&time] { return seconds(time); }), time(time), sees(sees) {}

protected:
    void Watch(const LumPalThread::Thread_t&) override {
        if (sees) Seen(LumConfCluster::Applications(), Look::Whole);
        time += 1000;
        throw LumPalMsg::IllegalStateError_t(LumPalMsg::CreateError_t("it broke"));
    }

private:
    std::atomic<int>& time;
    const bool sees;
};

TEST_F(MonitorKeepers, OnlyAMonitorThatHasSeenTheClusterHasLivedWhateverTheTimeOfDayDoes) {
    std::atomic<int> time{0}, pausesOver{0};
    const auto pausesWhereItSees = [&](bool sees) {
        pauses.clear();
        pausesOver = 0;
        MonitorKeeper some(kProduct, {[this] { return now += 100000; },
                                      [&](Bell_t& bell, seconds length) {
                                          pauses.push_back(length.count());
                                          if (++pausesOver == 3) bell.Stop();
                                      },
                                      [&](MonitorRecord& record, Bell_t& bell) {
                                          return std::make_unique<BriefMonitor>(record, bell, time, sees);
                                      }});
        EXPECT_TRUE(some.WaitForEnd(std::chrono::seconds(30)));
        return pauses;
    };
    EXPECT_EQ(pausesWhereItSees(false), (std::vector<std::int64_t>{10, 20, 40}));
    EXPECT_EQ(pausesWhereItSees(true), (std::vector<std::int64_t>{10, 10, 10}));
}

TEST_F(MonitorKeepers, AMonitorThatEndsWithItsProcessIsNotToldAsAFailure) {
    Keep(0);
    ASSERT_TRUE(IsWatching());
    LumPalRuntime::SetStopping(true);
    keeper->Stop();
    EXPECT_TRUE(keeper->WaitForEnd(std::chrono::seconds(30)));
    LumPalRuntime::SetStopping(false);
    EXPECT_EQ(PhaseNow(), MonitorState::Phase::Stopped);
    EXPECT_FALSE(log.Holds("The cluster monitor has ended."));
}

TEST_F(MonitorKeepers, KeysThatCannotBeFilledAreToldAndTheMonitorStartsAllTheSame) {
    WriteText(root.Native() + "/etc/pal/config/local_settings.ini", "neither\n");
    Keep(0);
    EXPECT_TRUE(IsWatching());
    EXPECT_TRUE(log.Holds("Settings of conf.cluster that are empty cannot be set"));
}

TEST(ClusterFound, OnlyEmptyKeysAreFilledAndNoOtherTextIsTouched) {
    const TempRoot root;
    CapturedLog log(root.Native());
    Configure("conf.cluster", "CLUSTER_TYPE", "odd");
    Configure("conf.cluster", "POLLING_INTERVAL", "");
    Configure("conf.cluster", "MONITOR_MODE", "no");
    Configure("conf.cluster", "TOOL_TIMEOUT", "7");
    lumconfd::FillEmptyClusterKeys(kProduct);
    EXPECT_EQ(Keys().GetValue("CLUSTER_TYPE"), "odd");
    EXPECT_EQ(Keys().GetValue("POLLING_INTERVAL"), "10000");
    EXPECT_EQ(Keys().GetValue("MONITOR_MODE"), "no");
    EXPECT_EQ(Keys().GetValue("TOOL_TIMEOUT"), "7");
    EXPECT_TRUE(log.Holds("are set: POLLING_INTERVAL=10000"));
    const std::string path = root.Native() + "/etc/pal/config/local_settings.ini", before = ReadText(path);
    const Faults none(1, FaultMode::FromThenOn);
    lumconfd::FillEmptyClusterKeys(kProduct);
    EXPECT_EQ(ReadText(path), before) << "nothing is empty any more, so nothing is written";
}

TEST(ClusterFound, WhatAPolicyHasSetIsNotEmpty) {
    const TempRoot root;
    WriteText(root.Native() + "/etc/pal/config/policy_settings.ini", "[conf.cluster]\nPOLLING_INTERVAL=250\n");
    lumconfd::FillEmptyClusterKeys(kProduct);
    EXPECT_EQ(Keys().GetValue("POLLING_INTERVAL"), "250");
    const std::string local = ReadText(root.Native() + "/etc/pal/config/local_settings.ini");
    EXPECT_EQ(local.find("POLLING_INTERVAL"), std::string::npos);
}

TEST(ClusterFound, AnotherConfiguredProductIsWarnedOf) {
    const TempRoot root;
    CapturedLog log(root.Native());
    for (const char* type : {"", "odd", "VERITAS Cluster Server (VCS)"}) {
        Configure("conf.cluster", "CLUSTER_TYPE", type);
        lumconfd::SayWhichIsFollowed(kProduct);
    }
    EXPECT_FALSE(log.Holds("WARNING"));
    Configure("conf.cluster", "CLUSTER_TYPE", "Sun Cluster (SC)");
    lumconfd::SayWhichIsFollowed(kProduct);
    EXPECT_TRUE(log.Holds("WARNING CLUSTER_TYPE of conf.cluster names 'Sun Cluster (SC)', which is another product"));
}

}  // namespace
