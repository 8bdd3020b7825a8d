#include "lumconfd/MonitorRecord.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "CapturedLog.h"
#include "Faults.h"
#include "Files.h"
#include "TempRoot.h"

namespace {

using lumconfd::MonitorRecord;
using lumtools::MonitorState;
using Phase = MonitorState::Phase;
using Sides = MonitorRecord::Sides;

std::atomic<int> renames{0};

class MonitorRecords : public testing::Test {
protected:
    MonitorRecords() { Restart(); }
    ~MonitorRecords() override { LumPalIo::SetFileObserverForTest(nullptr); }
    /// As a daemon that starts.
    void Restart() {
        record = std::make_unique<MonitorRecord>("product", [this] { return now; });
    }
    static MonitorState Stored() { return MonitorState::Read().value_or(MonitorState()); }
    static Sides At(bool one, bool two) { return {{"shop", "one", "web", one}, {"shop", "two", "db", two}}; }
    /// A monitor that begins, and sees this.
    void Look(const Sides& sides) {
        record->Starting();
        record->Seen(sides);
    }
    int Told(const std::string& words) const {
        const std::string text = log.Text();
        int count = 0;
        for (auto at = text.find(words); at != text.npos; at = text.find(words, at + 1)) ++count;
        return count;
    }

    const TempRoot root;
    CapturedLog log{root.Native()};
    std::int64_t now = 1000;
    std::unique_ptr<MonitorRecord> record;
};

TEST_F(MonitorRecords, EachStepIsWrittenDownWithItsTime) {
    record->Starting();
    EXPECT_EQ(Stored().phase, Phase::Starting);
    EXPECT_EQ(Stored().product, "product");
    now = 1001;
    record->Seen(At(true, false));
    EXPECT_EQ(Stored().phase, Phase::Watching);
    EXPECT_EQ(Stored().since, 1001);
    EXPECT_EQ(Stored().instances, At(true, false));
    now = 1002;
    record->Ended(LumPalMsg::CreateError_t("it broke"), 20);
    EXPECT_EQ(Stored().phase, Phase::Waiting);
    EXPECT_EQ(Stored().endedAt, 1002);
    EXPECT_EQ(Stored().successorAt, 1022);
    EXPECT_NE(Stored().endedBy.find("it broke"), std::string::npos);
    now = 1022;
    record->Starting();
    EXPECT_EQ(Stored().successorAt, 0);
    record->Stopped();
    EXPECT_EQ(Stored().phase, Phase::Stopped);
    EXPECT_EQ(Stored().endedAt, 1002) << "the last end is kept";
    EXPECT_EQ(Stored().instances, At(true, false));
}

TEST_F(MonitorRecords, AnEndIsToldWithItsReasonAndWhenTheSuccessorComesAndThatItFollowsAgain) {
    Look(At(true, true));
    record->Ended(LumPalMsg::CreateError_t("it broke"), 40);
    EXPECT_EQ(Told("WARNING The cluster monitor has ended. A successor starts in 40 seconds."), 1);
    EXPECT_TRUE(log.Holds("it broke"));
    EXPECT_EQ(Told("The cluster is followed again."), 0);
    Look(At(true, true));
    record->Seen(At(true, true));
    EXPECT_EQ(Told("INFO The cluster is followed again."), 1);
}

TEST_F(MonitorRecords, ALookThatShowsNothingNewWritesNothing) {
    Look(At(true, false));
    renames = 0;
    LumPalIo::SetFileObserverForTest([](const char*, const char*, const char*) { ++renames; });
    for (int i = 0; i < 10; ++i) {
        now += 10;
        record->Seen(At(true, false));
    }
    EXPECT_EQ(renames, 0);
    record->Seen(At(false, false));
    EXPECT_GT(renames, 0);
}

TEST_F(MonitorRecords, WhoChangedSidesWhileNobodyWatchedIsToldAndNoted) {
    Look(At(true, false));
    record->Ended(LumPalMsg::CreateError_t("it broke"), 10);
    Look(At(false, true));
    EXPECT_EQ(Told("The instance 'one' of the application 'shop' has left this node while nobody watched: its stop "
                   "commands are not run for it."),
              1);
    EXPECT_EQ(Told("The instance 'two' of the application 'shop' has come to this node while nobody watched: its start "
                   "commands are not run for it."),
              1);
    EXPECT_EQ(Stored().changed, At(false, true));
    record->Seen(At(false, true));
    EXPECT_EQ(Told("while nobody watched"), 2);
}

TEST_F(MonitorRecords, WhoChangedSidesBetweenTwoDaemonsIsToldToo) {
    Look(At(true, false));
    record->Stopped();
    Restart();
    Look(At(true, true));
    EXPECT_EQ(Told("while nobody watched"), 1);
    EXPECT_EQ(Stored().changed, (Sides{{"shop", "two", "db", true}}));
}

TEST_F(MonitorRecords, WhoChangesSidesUnderAnEyeIsNoLongerNoted) {
    Look(At(true, true));
    Restart();
    Look(At(false, false));
    EXPECT_EQ(Stored().changed.size(), 2u);
    record->CommandsEnd({"shop", "one", "web", true});
    record->Seen(At(true, false));
    EXPECT_EQ(Stored().changed, (Sides{{"shop", "two", "db", false}}));
    EXPECT_EQ(Told("while nobody watched"), 2) << "what is followed is told by who follows";
    Restart();
    Look(At(true, true));
    EXPECT_EQ(Stored().changed, Sides()) << "it is back where its commands have left it";
    EXPECT_EQ(Told("while nobody watched"), 3);
}

TEST_F(MonitorRecords, CommandsThatHaveRunAreNotToldAsNotRunWhateverBecomesOfTheirLook) {
    Look(At(false, false));
    record->CommandsBegin({"shop", "one", "web", true});
    record->CommandsEnd({"shop", "one", "web", true});
    record->Ended(LumPalMsg::CreateError_t("it broke"), 10);
    Restart();
    Look(At(true, false));
    EXPECT_EQ(Told("nobody watched"), 0) << log.Text();
    EXPECT_EQ(Stored().changed, Sides());
}

TEST_F(MonitorRecords, CommandsThatAKillMayHaveCutAreToldAsSuchAndOnce) {
    Look(At(false, true));
    record->CommandsBegin({"shop", "one", "web", true});
    EXPECT_EQ(Stored().begun, (Sides{{"shop", "one", "web", true}})) << "before they begin";
    Restart();
    Look(At(true, true));
    EXPECT_EQ(
        Told("The start commands of the instance 'one' of the application 'shop' had begun when nobody watched any "
             "more: they may have run, and not to their end."),
        1);
    EXPECT_EQ(Told("are not run for it"), 0);
    EXPECT_EQ(Stored().changed, Sides());
    EXPECT_EQ(Stored().begun, Sides());
    EXPECT_EQ(Stored().begunAt, 0);
    Restart();
    Look(At(true, true));
    EXPECT_EQ(Told("had begun"), 1);
}

TEST_F(MonitorRecords, SinceWhenCommandsRunIsToldUntilTheyHaveEnded) {
    Look(At(false, true));
    now = 1005;
    record->CommandsBegin({"shop", "one", "web", true});
    EXPECT_EQ(Stored().begunAt, 1005);
    now = 1065;
    record->CommandsEnd({"shop", "one", "web", true});
    EXPECT_EQ(Stored().begun, Sides()) << "also before the look is over: what follows may take its time";
    EXPECT_EQ(Stored().begunAt, 0);
    EXPECT_EQ(Stored().instances, At(true, true));
}

TEST_F(MonitorRecords, AChangeWithoutCommandsIsWrittenDownWithItsLook) {
    Look(At(false, true));
    record->CommandsEnd({"shop", "one", "web", true});
    EXPECT_EQ(Stored().instances, At(false, true));
    record->Seen(At(true, true));
    EXPECT_EQ(Stored().instances, At(true, true));
}

TEST_F(MonitorRecords, WhoIsAwayAgainWhenHisStartCommandsWereCutIsToldOfBoth) {
    Look(At(false, true));
    record->CommandsBegin({"shop", "one", "web", true});
    Restart();
    Look(At(false, true));
    EXPECT_EQ(Told("The start commands of the instance 'one' of the application 'shop' had begun"), 1);
    EXPECT_EQ(Told("has left this node while nobody watched: its stop commands are not run for it."), 1);
    EXPECT_EQ(Stored().changed, (Sides{{"shop", "one", "web", false}}));
}

TEST_F(MonitorRecords, APartialLookSaysNothingOfWhatItDoesNotHold) {
    Look(At(true, true));
    Restart();
    record->Starting();
    record->Seen({}, MonitorRecord::Look::Partial);
    EXPECT_EQ(Stored().phase, Phase::Watching);
    EXPECT_EQ(Stored().instances, At(true, true));
    record->Seen({{"shop", "two", "db", true}}, MonitorRecord::Look::Partial);
    EXPECT_EQ(Stored().instances.size(), 2u);
    record->Seen(At(false, true));
    EXPECT_EQ(Told("The instance 'one' of the application 'shop' has left this node while nobody watched"), 1)
        << "it was seen at last";
    EXPECT_EQ(Stored().changed, (Sides{{"shop", "one", "web", false}}));
}

TEST_F(MonitorRecords, WhatHindersTheMonitorIsWrittenDownWhenItChanges) {
    Look(At(true, true));
    record->CycleEnded(LumPalMsg::CreateError_t("the cluster is down"));
    EXPECT_EQ(Stored().hinderedBy, "the cluster is down");
    renames = 0;
    LumPalIo::SetFileObserverForTest([](const char*, const char*, const char*) { ++renames; });
    record->CycleEnded(LumPalMsg::CreateError_t("the cluster is down"));
    EXPECT_EQ(renames, 0);
    record->CycleEnded({});
    EXPECT_EQ(Stored().hinderedBy, "");
    record->CycleEnded(LumPalMsg::CreateError_t("the cluster is down"));
    record->Stopped();
    EXPECT_EQ(Stored().hinderedBy, "") << "nobody follows at all";
}

TEST_F(MonitorRecords, WhoIsNewOrGoneHasNotChangedSides) {
    Look(At(true, true));
    Restart();
    Look({{"shop", "three", "web", true}, {"store", "one", "web", false}, {"shop", "one", "db", false}});
    EXPECT_EQ(Told("while nobody watched"), 0);
    EXPECT_EQ(Stored().changed, Sides());
}

TEST_F(MonitorRecords, WhoIsConfiguredNoLongerIsForgottenAmongThoseThatChangedSides) {
    Look(At(true, true));
    Restart();
    Look(At(false, false));
    record->Seen({}, MonitorRecord::Look::Partial);
    EXPECT_EQ(Stored().changed.size(), 2u) << "a look that was cut short says nothing of them";
    record->Seen({{"shop", "two", "db", false}});
    EXPECT_EQ(Stored().changed, (Sides{{"shop", "two", "db", false}}));
    Restart();
    record->Starting();
    record->Seen({{"shop", "two", "web", false}});
    EXPECT_EQ(Stored().changed, Sides()) << "by another group it is another one";
}

TEST_F(MonitorRecords, NamesCannotForgeLines) {
    Look({{"a\nb", "c\x1b[2J", "web", true}});
    Restart();
    Look({{"a\nb", "c\x1b[2J", "web", false}});
    EXPECT_EQ(log.Text().find('\x1b'), std::string::npos);
    EXPECT_EQ(Told("\n"), 1) << log.Text();
}

TEST_F(MonitorRecords, AFileThatCannotBeReadIsToldAndReplaced) {
    WriteText(MonitorState::Path().ToUtf8(), "{");
    Restart();
    EXPECT_EQ(Told("Which instances have changed sides while no daemon ran is not known"), 1);
    Look(At(true, true));
    EXPECT_EQ(Stored().instances, At(true, true));
}

TEST_F(MonitorRecords, AFileThatCannotBeWrittenIsToldOnceAndWrittenAsSoonAsItCanBe) {
    {
        const Faults full(1, FaultMode::DiskFull);
        Look(At(true, false));
        record->Seen(At(true, false));
        record->Seen(At(true, true));
    }
    EXPECT_EQ(Told("How the cluster monitor stands cannot be written down"), 1);
    EXPECT_EQ(Stored(), MonitorState());
    record->Seen(At(true, true));
    EXPECT_EQ(Stored().instances, At(true, true));
}

TEST_F(MonitorRecords, ThousandsOfInstancesAreWrittenDown) {
    Sides many;
    for (int i = 0; i < 20000; ++i) many.push_back({"shop", "i" + std::to_string(i), "web", true});
    Look(many);
    many.back().here = false;
    record->Seen(many);
    EXPECT_EQ(Stored().instances.size(), 20000u);
}

}  // namespace
