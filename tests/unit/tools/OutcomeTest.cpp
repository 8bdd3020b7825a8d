// What a tool says of failures that are no messages.
#include "common/Outcome.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

TEST(Outcome, MemoryThatDoesNotSufficeIsSaidInWords) {
    const lumtools::Outcome outcome = lumtools::Attempt([] { throw std::bad_alloc(); });
    EXPECT_EQ(outcome.code, lumtools::kFailed);
    ASSERT_EQ(outcome.messages.size(), 1u);
    EXPECT_EQ(outcome.messages[0].text, "There is not enough memory for this.");
}

TEST(Outcome, AnotherFailureIsSaidAsItIs) {
    const lumtools::Outcome outcome = lumtools::Attempt([] { throw std::runtime_error("a reason"); });
    EXPECT_EQ(outcome.code, lumtools::kFailed);
    ASSERT_EQ(outcome.messages.size(), 1u);
    EXPECT_EQ(outcome.messages[0].text, "a reason");
}
