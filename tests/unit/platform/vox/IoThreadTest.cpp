#include "IoThread_beast.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using LumVoxMsg::IoThread;
using LumVoxMsg::LaterSteps;

namespace {

TEST(LaterSteps, EachAddressHasItsTurn) {
    LaterSteps steps;
    std::string order;
    for (const char step : {'a', 'b', 'c'}) steps.Add(1, [&order, step] { order += step; });
    steps.Add(2, [&order] { order += 'x'; });
    steps.Add(3, [&order] { order += 'y'; });
    while (!steps.IsEmpty()) steps.RunNext();
    EXPECT_EQ(order, "axybc");
}

TEST(LaterSteps, WhatWasNeverRunIsFreed) {
    auto held = std::make_shared<int>(1);
    {
        LaterSteps steps;
        steps.Add(7, [held] {});
        EXPECT_EQ(held.use_count(), 2);
    }
    EXPECT_EQ(held.use_count(), 1);
}

/// What a thread makes of steps that are posted, all before it begins.
class IoThreadTest : public testing::Test {
protected:
    void Post(char step) {
        boost::asio::post(thread.context, [this, step] { order += step; });
    }
    void PostLater(char step) {
        boost::asio::post(thread.context, [this, step] { thread.Later(0, [this, step] { order += step; }); });
    }
    std::string Run() {
        thread.Start();
        thread.Finish();
        return order;
    }
    std::string order;
    IoThread thread;
};

TEST_F(IoThreadTest, WhatStrangersHaveToDoComesBehindTheRest) {
    PostLater('s');
    PostLater('t');
    for (const char step : {'a', 'b', 'c'}) Post(step);
    EXPECT_EQ(Run(), "abcst");
}

TEST_F(IoThreadTest, ButItComesHoweverMuchThereIsOfTheRest) {
    PostLater('s');
    for (int i = 0; i < 1000; ++i) Post('a');
    const std::size_t at = Run().find('s');
    EXPECT_GT(at, 10u);
    EXPECT_LT(at, 100u);
}

TEST_F(IoThreadTest, AStepThatFailsCostsItselfAlone) {
    boost::asio::post(thread.context, [this] { thread.Later(0, [] { throw std::runtime_error("no room"); }); });
    PostLater('s');
    EXPECT_EQ(Run(), "s");
}

}  // namespace
