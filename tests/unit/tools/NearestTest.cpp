// The word that was meant by what was typed.
#include "common/Nearest.h"

#include <gtest/gtest.h>

TEST(Nearest, ASlipFindsItsWordAndAnotherWordFindsNone) {
    const std::vector<std::string> words{"install", "list", "show", "remove", "enable", "disable"};
    for (const auto& [typed, meant] : std::vector<std::pair<std::string, std::string>>{{"instal", "install"},
                                                                                       {"lst", "list"},
                                                                                       {"lists", "list"},
                                                                                       {"shwo", "show"},
                                                                                       {"enabel", "enable"},
                                                                                       {"dance", ""},
                                                                                       {"", ""},
                                                                                       {"x", ""}}) {
        EXPECT_EQ(lumtools::NearestOf(typed, words), meant) << typed;
    }
    EXPECT_EQ(lumtools::Suggestion("lst", words), "; did you mean 'list'?");
    EXPECT_EQ(lumtools::Suggestion("dance", words), "");
}

TEST(Nearest, AWordThatIsCutShortFindsTheOnlyOneThatBeginsSo) {
    const std::vector<std::string> words{"status", "explain", "check-config", "enable", "enroll"};
    EXPECT_EQ(lumtools::NearestOf("stat", words), "status");
    EXPECT_EQ(lumtools::NearestOf("check", words), "check-config");
    EXPECT_EQ(lumtools::NearestOf("en", words), "");
    EXPECT_EQ(lumtools::NearestOf("ex", words), "");
}

TEST(Nearest, AVeryLongWordIsNoSlip) {
    EXPECT_EQ(lumtools::NearestOf(std::string(1000000, 'l'), {"list"}), "");
}
