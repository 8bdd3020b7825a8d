#include "ThrottledLog.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "CapturedLog.h"
#include "TempRoot.h"

TEST(ThrottledLog, WhatWasNotWrittenIsCountedAndToldAtTheEnd) {
    const TempRoot root;
    const CapturedLog log(root.Native());
    {
        LumPalLog::ThrottledLog throttled;
        throttled.LogRest();
        for (int i = 0; i < 1000; ++i) throttled.Warn("It was refused: %1", "by this test");
        throttled.LogRest();  // its time is not over
        const std::string said = log.Text();
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
    }
    EXPECT_TRUE(log.Holds("WARNING It was refused: 999 more of this kind since the last line."));
}
