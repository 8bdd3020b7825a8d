#include "LumPalPattern.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using LumPalPattern::IsFound;
using LumPalStr::String_t;

TEST(Pattern, IsFoundAnywhereUnlessItSaysOtherwise) {
    EXPECT_EQ(IsFound("eb", "web"), true);
    EXPECT_EQ(IsFound("^eb", "web"), false);
    EXPECT_EQ(IsFound("^(web|db)-[0-9]+$", "db-12"), true);
    EXPECT_EQ(IsFound("WEB", "web"), false);
    EXPECT_EQ(IsFound("", "web"), true);
    EXPECT_EQ(IsFound("\\.", "a.b"), true);
}

TEST(Pattern, WhatIsNoneOrCouldCostMuchIsNotTried) {
    for (const std::string& pattern :
         {std::string("("), std::string("a{255}"), std::string("((a{1,255}){1,255}){1,255}"), std::string("(a)\\1"),
          std::string(1025, 'a'), std::string(1 << 20, '(')}) {
        EXPECT_EQ(IsFound(String_t::FromUtf8(pattern), "aa"), std::nullopt) << pattern.substr(0, 40);
    }
    EXPECT_EQ(IsFound("(a*)*(a*)*(a*)*b", String_t::FromUtf8(std::string(10000, 'a'))), false);
}

}  // namespace
