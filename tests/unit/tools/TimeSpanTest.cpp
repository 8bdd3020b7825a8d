// Spans of time as people read them.
#include "common/TimeSpan.h"

#include <gtest/gtest.h>

namespace lumtools {
namespace {

constexpr std::int64_t kDay = 86400;

TEST(TimeSpan, ASpanIsToldInItsLargestUnitAndNeverAsMoreThanItIs) {
    const struct {
        std::int64_t seconds;
        const char* text;
    } rows[] = {{-5, "0 seconds"},      {0, "0 seconds"},        {1, "1 second"},      {59, "59 seconds"},
                {60, "1 minute"},       {119, "1 minute"},       {3599, "59 minutes"}, {3600, "1 hour"},
                {kDay - 1, "23 hours"}, {kDay, "1 day"},         {2 * kDay, "2 days"}, {7 * kDay - 1, "6 days"},
                {7 * kDay, "7 days"},   {400 * kDay, "400 days"}};
    for (const auto& row : rows) EXPECT_EQ(SpanText(row.seconds), row.text) << row.seconds;
}

TEST(TimeSpan, AnEndIsToldAsOneThatComesOrThatHasBeen) {
    EXPECT_EQ(EndText(7 * kDay - 1), "ends in 6 days");
    EXPECT_EQ(EndText(1), "ends in 1 second");
    EXPECT_EQ(EndText(0), "ENDED 0 seconds ago");
    EXPECT_EQ(EndText(-2 * kDay), "ENDED 2 days ago");
}

}  // namespace
}  // namespace lumtools
