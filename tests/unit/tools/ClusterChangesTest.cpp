#include "lumcluster/Changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lumcluster/Screen.h"

using lumcluster::Change;
using lumcluster::Changes;
using lumcluster::Follower;
using lumcluster::Item;
using lumcluster::Sight;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

/// What somebody sees who looks again and again.
struct ClusterChanges : testing::Test {
    ClusterChanges() {
        sight.isClusterSeen = true;
        sight.cluster = "harbour";
        sight.product = "P";
        sight.state = "Up";
        sight.nodes = {{"alpha", 0, "Online", true}};
        sight.groups = {{"web", 1, "Online", "Offline", "beta", ""}};
        sight.applications = {{"shop", {{"till", "web", "Offline", "beta", false}}, {"disk-io"}, ""}};
        follower.isDaemonThere = false;
        keys.type = "P";
        keys.pollingInterval = "10000";
        keys.monitorMode = "TRUE";
        keys.isMonitorModeOn = true;
    }
    std::vector<std::string> Lines() {
        std::vector<std::string> lines;
        for (const Change& change : changes.Take(sight, ItemsOf(sight, follower, keys))) {
            lines.push_back(LineOf(change, "T"));
        }
        return lines;
    }

    Sight sight;
    Follower follower;
    lumcluster::Keys keys;
    Changes changes;
};

TEST_F(ClusterChanges, TheFirstLookTellsEverythingAndTheNextOnesWhatIsNew) {
    EXPECT_THAT(Lines(),
                ElementsAre("T settings: read", "T cluster: harbour (P), Up", "T monitor: no daemon",
                            "T node alpha: Online", "T group web: Online on beta", "T application shop: policies: 1",
                            "T instance shop::till: Offline on beta, not here"));
    EXPECT_THAT(Lines(), IsEmpty());
    sight.groups[0].activeNode = "alpha";
    EXPECT_THAT(Lines(), ElementsAre("T group web: Online on alpha (was Online on beta)"));
    keys.isMonitorModeOn = false;
    EXPECT_THAT(Lines(), ElementsAre("T monitor: no daemon, MONITOR_MODE is off (was no daemon)"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ClusterChanges, SettingsThatCannotBeReadAreTheOnlyNews) {
    Lines();
    const lumtools::Outcome outcome{lumtools::kFailed, {{0, "line 3"}, {1, "a detail"}}};
    const auto unread = changes.TakeUnread(outcome);
    ASSERT_EQ(unread.size(), 1u);
    EXPECT_EQ(LineOf(unread[0], "T"), "T settings: cannot be read (line 3) (was read)");
    EXPECT_THAT(changes.TakeUnread(outcome), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre("T settings: read (was cannot be read (line 3))"));
}

TEST_F(ClusterChanges, AMonitorThatIsHinderedIsTold) {
    follower.isDaemonThere = true;
    follower.record.emplace().phase = lumtools::MonitorState::Phase::Watching;
    Lines();
    follower.record->hinderedBy = "The disk is\nfull.";
    EXPECT_THAT(Lines(), ElementsAre("T monitor: watching, policies do not follow (was watching)"));
    EXPECT_THAT(follower.Sentence(), HasSubstr(", but policies do not follow at present: The disk is full."));
    EXPECT_EQ(ToJson(follower, keys)["hindered_by"], "The disk is\nfull.");
    EXPECT_THAT(Obstacles(follower, keys, sight), ElementsAre(follower.Sentence()));
    follower.isDaemonThere = false;
    EXPECT_FALSE(follower.IsHindered());
}

TEST_F(ClusterChanges, CommandsThatTheMonitorWaitsForAreTold) {
    follower.isDaemonThere = true;
    follower.record.emplace().phase = lumtools::MonitorState::Phase::Watching;
    Lines();
    follower.record->hinderedBy = "The disk is full.";
    follower.record->begun = {{"shop", "till", "web", true}};
    EXPECT_THAT(Lines(), ElementsAre("T monitor: watching, commands run (was watching)"));
    EXPECT_THAT(follower.Sentence(), EndsWith(", but policies do not follow at present: the monitor waits for the "
                                              "start commands of the instance 'till' of the application 'shop'"));
    follower.record->begunAt = 60;
    follower.record->begun[0].here = false;
    EXPECT_EQ(ToJson(follower, keys)["hindered_by"],
              "since 1970-01-01T00:01:00Z the monitor waits for the stop commands of the instance 'till' of the "
              "application 'shop'");
    EXPECT_EQ(ToJson(follower, keys)["commands_begun_at"], "1970-01-01T00:01:00Z");
    EXPECT_THAT(Obstacles(follower, keys, sight), ElementsAre(follower.Sentence()));
    follower.record->phase = lumtools::MonitorState::Phase::Starting;
    EXPECT_FALSE(follower.IsHindered()) << "they were those of a former monitor";
}

TEST_F(ClusterChanges, WhatHasGoneIsTold) {
    Lines();
    sight.groups.clear();
    EXPECT_THAT(Lines(), ElementsAre("T group web: gone (was Online on beta)"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(ClusterChanges, AClusterThatCannotBeAskedLosesNothing) {
    Lines();
    const Sight before = sight;
    sight = Sight();
    sight.problems = {{"cluster", {lumtools::kFailed, {{0, "it is down"}}}}};
    EXPECT_THAT(Lines(), ElementsAre(StartsWith("T cluster: cannot be asked (cluster: it is down) (was harbour")));
    EXPECT_THAT(Lines(), IsEmpty());
    sight = before;
    EXPECT_THAT(Lines(), ElementsAre(StartsWith("T cluster: harbour (P), Up (was cannot be asked")));
}

TEST_F(ClusterChanges, AListThatCannotBeHadLosesItsOwnAlone) {
    Lines();
    sight.applications.clear();
    sight.nodes.clear();
    sight.problems = {{"applications", {lumtools::kFailed, {{0, "broken"}}}}};
    EXPECT_THAT(Lines(), ElementsAre(HasSubstr("broken"), "T node alpha: gone (was Online)"));
}

TEST_F(ClusterChanges, NamesThatStandTwiceAreToldApart) {
    sight.applications[0].instances.push_back({"till", "database", "Online", "alpha", true});
    Lines();
    sight.applications[0].instances[1].state = "Offline";
    EXPECT_THAT(Lines(), ElementsAre("T instance shop::till (2): Offline on alpha, here (was Online on alpha, here)"));
}

TEST_F(ClusterChanges, ALineHoldsNoControlCharacters) {
    sight.groups[0].name = "w\033[2Jb\n";
    sight.groups[0].activeNode = "b\a";
    EXPECT_THAT(Lines(), testing::Contains("T group w?[2Jb?: Online on b?"));
}

TEST_F(ClusterChanges, AProgramGetsWhatWasAndWhatIs) {
    const auto object = ToJson(Change{"group", "web", std::nullopt, "Online"}, "T");
    EXPECT_EQ(object.dump(), R"({"time":"T","kind":"group","name":"web","was":null,"is":"Online"})");
}

TEST(ClusterScreen, LinesWithoutRoomAreCounted) {
    EXPECT_EQ(lumcluster::FirstLines("a\nb\nc\n", 3), "a\nb\nc\n");
    EXPECT_EQ(lumcluster::FirstLines("a\nb\nc\nd\n", 3), "a\nb\n... and 2 more lines\n");
    EXPECT_EQ(lumcluster::FirstLines("a\nb\n", 0), "... and 2 more lines\n");
    EXPECT_EQ(lumcluster::FirstLines("", 3), "");
}

TEST(ClusterFollower, TheWordTellsWhoFollows) {
    Follower follower;
    EXPECT_EQ(follower.Word(), "unknown");
    follower.isDaemonThere = false;
    follower.record = lumtools::MonitorState();
    follower.record->phase = lumtools::MonitorState::Phase::Watching;
    EXPECT_EQ(follower.Word(), "no daemon") << "a record tells of the past";
    follower.isDaemonThere = true;
    EXPECT_EQ(follower.Word(), "watching");
    EXPECT_TRUE(follower.IsWatching());
    follower.record->phase = lumtools::MonitorState::Phase::Stopped;
    EXPECT_EQ(follower.Word(), "none") << "a former daemon has left it";
    follower.record->phase = lumtools::MonitorState::Phase::Waiting;
    follower.record->endedBy = "Exception in monitor thread.\n  Not allowed.\n";
    follower.record->endedAt = 1000000000;
    follower.record->successorAt = 1000000010;
    EXPECT_EQ(follower.Sentence(),
              "the monitor has ended at 2001-09-09T01:46:40Z (Exception in monitor thread. Not allowed.); a "
              "successor starts at 2001-09-09T01:46:50Z");
    follower.record.reset();
    EXPECT_EQ(follower.Word(), "none");
    follower.recordProblem = "it is broken";
    EXPECT_EQ(follower.Sentence(), "it is broken");
}

}  // namespace
