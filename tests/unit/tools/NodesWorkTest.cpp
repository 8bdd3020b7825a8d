// The order in which many nodes are asked.
#include "common/NodesWork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace lumtools {
namespace {

using testing::ElementsAre;

/// Asks nodes that answer as they are told.
class Rolled {
public:
    /// @param codes  what each node answers
    Rolled(const std::vector<ExitCode>& codes, int parallel, const Rollout& rollout) {
        NodesWork work(codes.size());
        work.Start(
            parallel,
            [&](std::size_t index) {
                const LumPalThread::PlainLock_t lock(mutex);
                asked.push_back(index);
                earliest.push_back(work.CountAnswered());
                Answer answer;
                answer.outcome.code = codes[index];
                return answer;
            },
            rollout);
        for (std::size_t arrived = 0; arrived < codes.size();) {
            arrived += work.TakeAnswered(std::chrono::hours(1)).size();
        }
        for (std::size_t i = 0; i < codes.size(); ++i) words.push_back(work.GetAnswer(i).outcome.Word());
    }

    std::vector<std::size_t> asked;     ///< in their order
    std::vector<std::size_t> earliest;  ///< how many had answered then
    std::vector<std::string> words;

private:
    LumPalThread::PlainMutex_t mutex;
};

TEST(NodesWork, ANodeWasOnlyAskedUntilAStepThatIsNoQuestion) {
    NodesWork work(2);
    EXPECT_FALSE(work.WasOnlyAsked(0)) << "nobody said what it was asked";
    work.SetQuestion(0, "what it has");
    work.SetQuestion(0, "what else it has");
    EXPECT_TRUE(work.WasOnlyAsked(0));
    EXPECT_FALSE(work.WasOnlyAsked(1));
    work.SetStep(0, "the change");
    EXPECT_FALSE(work.WasOnlyAsked(0));
    work.SetQuestion(0, "what it has now");
    EXPECT_FALSE(work.WasOnlyAsked(0)) << "a change was sent before";
}

TEST(NodesWork, ABatchBeginsWhenAllBeforeItHaveAnswered) {
    const Rolled rolled(std::vector<ExitCode>(10, kDone), 8, {3, {}});
    ASSERT_EQ(rolled.asked.size(), 10u);
    for (std::size_t i = 0; i < 10; ++i) EXPECT_GE(rolled.earliest[i], rolled.asked[i] / 3 * 3) << i;
}

TEST(NodesWork, AfterTooManyFailuresNoNodeIsAsked) {
    const Rolled rolled({kDone, kFailed, kUnreachable, kDone, kDone}, 1, {0, 1});
    EXPECT_THAT(rolled.asked, ElementsAre(0, 1, 2));
    EXPECT_THAT(rolled.words, ElementsAre("done", "failed", "unreachable", "not tried", "not tried"));
}

TEST(NodesWork, ABatchIsEndedAndTheNextOneNotBegun) {
    const Rolled rolled({kFailed, kDone, kDone, kDone}, 1, {2, 0});
    EXPECT_THAT(rolled.words, ElementsAre("failed", "not tried", "not tried", "not tried"));
    const Rolled together({kDone, kFailed, kDone, kDone}, 1, {2, 0});
    EXPECT_THAT(together.words, ElementsAre("done", "failed", "not tried", "not tried"));
}

TEST(NodesWork, WhatIsDoneUntoldOrNothingToDoIsNoFailure) {
    const Rolled rolled({kUntold, kNothingToDo, kDone, kDone}, 1, {1, 0});
    EXPECT_EQ(rolled.asked.size(), 4u);
}

TEST(NodesWork, WithoutALimitFailuresHoldUpNobody) {
    const Rolled rolled(std::vector<ExitCode>(50, kFailed), 4, {});
    EXPECT_EQ(rolled.asked.size(), 50u);
    EXPECT_EQ(std::count(rolled.words.begin(), rolled.words.end(), "failed"), 50);
}

}  // namespace
}  // namespace lumtools
