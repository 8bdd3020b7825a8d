#include "LineShare.h"

#include <gtest/gtest.h>

using LumConf::LineShare;
using namespace std::chrono_literals;

namespace {

const LineShare::Clock::time_point kStart = LineShare::Clock::time_point() + 1000s;

TEST(LineShare, SoManyLinesOfAWhileAreWrittenAndTheOthersCounted) {
    LineShare share(3, 10s);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(share.Take(kStart + 1s * i)) << i;
    EXPECT_FALSE(share.HasCount());
    for (int i = 3; i < 9; ++i) EXPECT_FALSE(share.Take(kStart + 1s * i)) << i;
    EXPECT_TRUE(share.HasCount());
    EXPECT_EQ(share.GetEnd(), kStart + 10s);
}

TEST(LineShare, TheCountIsToldOfOnceWhenTheWhileIsOver) {
    LineShare share(1, 10s);
    for (int i = 0; i < 5; ++i) share.Take(kStart);
    EXPECT_EQ(share.TakeCount(kStart + 10s - 1ns), 0u);
    EXPECT_EQ(share.TakeCount(kStart + 10s), 4u);
    EXPECT_EQ(share.TakeCount(kStart + 10s), 0u);
    EXPECT_TRUE(share.Take(kStart + 10s)) << "a new while has begun";
    EXPECT_FALSE(share.Take(kStart + 19s));
    EXPECT_EQ(share.TakeCount(), 1u) << "whoever ends does not wait";
}

TEST(LineShare, AWhileBeginsWithItsFirstLine) {
    LineShare share(1, 10s);
    EXPECT_TRUE(share.Take(kStart));
    EXPECT_TRUE(share.Take(kStart + 25s));
    EXPECT_FALSE(share.Take(kStart + 34s));
    EXPECT_TRUE(share.Take(kStart + 35s));
}

}  // namespace
