#include "CommandLine.h"

#include <gtest/gtest.h>

#include "LumPalMsg.h"

namespace {

using LumPalCmd::SplitWords;
using LumPalStr::String_t;
using Words = std::vector<std::string>;

TEST(CommandLine, IsSplitAtBlanksAndTabsAndDoubleQuotesKeepThem) {
    const struct {
        const char* line;
        Words words;
    } rows[] = {
        {"tool", {"tool"}},
        {"tool -a b", {"tool", "-a", "b"}},
        {"  tool \t -a   b  ", {"tool", "-a", "b"}},
        {"tool \"a b\"", {"tool", "a b"}},
        {"tool a\"b c\"d", {"tool", "ab cd"}},
        {"tool \"\"", {"tool", ""}},
        {"tool \"\" x", {"tool", "", "x"}},
        {"\"/opt/my tools/tool\" x", {"/opt/my tools/tool", "x"}},
        {"tool \"a\"\"b\"", {"tool", "ab"}},
        {"tool 'a b'", {"tool", "'a", "b'"}},
        {"tool a\\ b", {"tool", "a\\", "b"}},
        {"tool $HOME `id` $(id) ; rm | x > y & *",
         {"tool", "$HOME", "`id`", "$(id)", ";", "rm", "|", "x", ">", "y", "&", "*"}},
        {"tool a\nb", {"tool", "a\nb"}},
    };
    for (const auto& row : rows) EXPECT_EQ(SplitWords(row.line), row.words) << row.line;
}

TEST(CommandLine, GivesItsWordsInUtf8) {
    EXPECT_EQ(SplitWords(String_t(u"tool Größe")), (Words{"tool",
                                                          "Gr\xC3\xB6\xC3\x9F"
                                                          "e"}));
}

TEST(CommandLine, IsRefusedWhenItNamesNoProgramOrIsMalformed) {
    const String_t rows[] = {"",         String_t::Null(),         "  \t ", "\"\"", "\"\" x", "tool \"open", "\"",
                             "tool a\"", String_t(u"tool a\0b", 8)};
    for (const String_t& line : rows) EXPECT_THROW(SplitWords(line), LumPalMsg::IllegalArgumentError_t) << line;
}

}  // namespace
