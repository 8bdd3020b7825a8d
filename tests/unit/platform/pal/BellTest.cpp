#include "LumPalBell.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>

#include "LumPalMsg.h"

namespace {

using namespace LumPalThread;
using namespace std::chrono_literals;
using Heard = Bell_t::Heard;

// Long enough that a test that waits for it fails by its time limit.
constexpr auto kVeryLong = 10min;
constexpr StepThread_t::Failure kFailure{"A step failed: %1", kVeryLong};

TEST(Bell, RingsThatComeBeforeOneIsHeardCountAsOne) {
    Bell_t bell;
    bell.Ring();
    bell.Ring();
    EXPECT_EQ(bell.Wait(), Heard::Ring);
    EXPECT_EQ(bell.Wait(0ms), Heard::TimeOver);
}

TEST(Bell, ARingIsHeardBeforeTheStopThatCameAfterIt) {
    Bell_t bell;
    bell.Ring();
    bell.Stop();
    EXPECT_EQ(bell.Wait(), Heard::Ring);
    EXPECT_EQ(bell.Wait(), Heard::Stop);
    EXPECT_EQ(bell.Wait(kVeryLong), Heard::Stop);
}

TEST(Bell, WhoWaitsIsWokenByARingAndByAStop) {
    Bell_t bell;
    auto first = std::async(std::launch::async, [&] { return bell.Wait(kVeryLong); });
    bell.Ring();
    EXPECT_EQ(first.get(), Heard::Ring);
    auto second = std::async(std::launch::async, [&] { return bell.Wait(); });
    bell.Stop();
    EXPECT_EQ(second.get(), Heard::Stop);
}

TEST(Bell, APauseHearsNoRingAndEndsWithTheStop) {
    Bell_t bell;
    bell.Ring();
    auto pausing = std::async(std::launch::async, [&] { bell.Pause(kVeryLong); });
    bell.Stop();
    pausing.get();
    EXPECT_EQ(bell.Wait(), Heard::Ring);
}

TEST(StepThread, TheFirstStepIsMadeAtOnceAndEachRingMakesOneMore) {
    std::promise<void> steps[2];
    int made = 0;
    StepThread_t thread("steps", kFailure, [&](Bell_t&) {
        if (made < 2) steps[made].set_value();
        ++made;
        return StepThread_t::kUntilRing;
    });
    thread.Start();
    steps[0].get_future().get();
    thread.Ring();
    steps[1].get_future().get();
    thread.Finish();
    EXPECT_EQ(made, 2);
}

TEST(StepThread, AStepComesByItselfWhenItsTimeIsOver) {
    std::promise<void> third;
    int made = 0;
    StepThread_t thread("steps", kFailure, [&](Bell_t&) -> std::chrono::milliseconds {
        if (++made == 3) third.set_value();
        return 0ms;
    });
    thread.Start();
    third.get_future().get();
    thread.Finish();
    EXPECT_GE(made, 3);
}

TEST(StepThread, OneThatThrowsIsFollowedByTheNextWhenItRings) {
    std::promise<void> first, second;
    int made = 0;
    StepThread_t thread("steps", kFailure, [&](Bell_t&) {
        if (++made == 1) {
            first.set_value();
            throw std::runtime_error("no room");
        }
        second.set_value();
        return StepThread_t::kUntilRing;
    });
    thread.Start();
    first.get_future().get();
    thread.Ring();
    second.get_future().get();
    thread.Finish();
    EXPECT_EQ(made, 2);
}

TEST(StepThread, OneThatThrowsIsFollowedByTheNextWhenItsTimeHasCome) {
    std::promise<void> second;
    int made = 0;
    StepThread_t thread("steps", {"A step failed: %1", 0ms}, [&](Bell_t&) {
        if (++made == 1) throw std::runtime_error("no room");
        if (made == 2) second.set_value();
        return StepThread_t::kUntilRing;
    });
    thread.Start();
    second.get_future().get();
}

TEST(StepThread, OneThatIsStoppedBeforeItStartsMakesNoStep) {
    bool made = false;
    StepThread_t thread("steps", kFailure, [&](Bell_t&) {
        made = true;
        return StepThread_t::kUntilRing;
    });
    thread.Stop();
    thread.Start();
    thread.Finish();
    EXPECT_FALSE(made);
    EXPECT_TRUE(thread.IsStopped());
}

TEST(StepThread, WhatRangBeforeTheStopIsAnsweredByOneStep) {
    int made = 0;
    StepThread_t thread("steps", kFailure, [&](Bell_t&) {
        ++made;
        return StepThread_t::kUntilRing;
    });
    thread.Ring();
    thread.Stop();
    thread.Start();
    thread.Finish();
    EXPECT_EQ(made, 1);
}

TEST(StepThread, AStepSeesThatItShallEnd) {
    std::promise<void> inside;
    StepThread_t thread("steps", kFailure, [&](Bell_t& bell) {
        inside.set_value();
        bell.Pause(kVeryLong);
        return StepThread_t::kUntilRing;
    });
    thread.Start();
    inside.get_future().get();
    thread.Finish();
}

TEST(StepThread, OneThatWasNeverStartedEndsAndOneStartsOnce) {
    StepThread_t idle("steps", kFailure, [](Bell_t&) { return StepThread_t::kUntilRing; });
    idle.Finish();
    StepThread_t thread("steps", kFailure, [](Bell_t&) { return StepThread_t::kUntilRing; });
    thread.Start();
    EXPECT_THROW(thread.Start(), LumPalMsg::IllegalStateError_t);
}

}  // namespace
