#include "StringList.h"

#include <gtest/gtest.h>

namespace {

using namespace LumConf;
using LumPalStr::String_t;
using Words = std::vector<String_t>;

TEST(StringList, RunsOfBlanksSeparateWords) {
    EXPECT_EQ(GetVectorFromString("one two"), (Words{"one", "two"}));
    EXPECT_EQ(GetVectorFromString("   one    two  "), (Words{"one", "two"}));
    EXPECT_EQ(GetVectorFromString("one"), (Words{"one"}));
}

TEST(StringList, AnEmptyNullOrBlankTextGivesNoWord) {
    EXPECT_TRUE(GetVectorFromString("").empty());
    EXPECT_TRUE(GetVectorFromString(String_t::Null()).empty());
    EXPECT_TRUE(GetVectorFromString("   ").empty());
    EXPECT_TRUE(GetVectorFromString("\t\n").empty());
}

TEST(StringList, OnlyBlanksSeparateNotTabs) {
    EXPECT_EQ(GetVectorFromString("a\tb c"), (Words{"a\tb", "c"}));
    EXPECT_EQ(GetVectorFromString("a\nb"), (Words{"a\nb"}));
}

TEST(StringList, WhiteSpaceBehindABlankIsTrimmedWithIt) {
    EXPECT_EQ(GetVectorFromString("a \t b"), (Words{"a", "b"}));
    EXPECT_EQ(GetVectorFromString("a\t b"), (Words{"a\t", "b"}));
}

TEST(StringList, WordsOutsideAsciiSurvive) {
    String_t word = String_t::FromUtf8("\xF0\x9F\x90\xA7\xC3\xBC");
    EXPECT_EQ(GetVectorFromString(word + " " + word), (Words{word, word}));
}

TEST(StringList, ALongListIsSplitWhole) {
    String_t text;
    for (int i = 0; i < 50000; ++i) text += LumPalStr::NumToStr(i) + " ";
    Words words = GetVectorFromString(text);
    ASSERT_EQ(words.size(), 50000u);
    EXPECT_EQ(words.back(), "49999");
}

TEST(StringList, PartsOfTheTextAreTheSameWords) {
    for (const char* utf8 :
         {"", "  ", "\t", "one", " one  two ", "a\tb c", "a \t b", "a\t b", "\xC2\xA0 x \xE3\x80\x80 y\xE2\x80\x83",
          "\xE3\x80\x80", "x \xE3\x80\x80", "\xF0\x9F\x90\xA7 \xC3\xBC"}) {
        const String_t text = String_t::FromUtf8(utf8);
        Words words;
        for (const std::u16string_view word : GetViewsFromString(text)) {
            EXPECT_GE(word.data(), text.View().data());
            words.emplace_back(word.data(), static_cast<std::uint32_t>(word.size()));
        }
        EXPECT_EQ(words, GetVectorFromString(text)) << utf8;
        for (const String_t& word : words) EXPECT_EQ(String_t(word).Trim().IsEmpty(), false) << utf8;
    }
}

TEST(StringList, JoiningPutsOneBlankBetweenWords) {
    EXPECT_EQ(JoinWithBlanks({}), "");
    EXPECT_EQ(JoinWithBlanks({"a"}), "a");
    EXPECT_EQ(JoinWithBlanks({"a", "b", "c"}), "a b c");
}

}  // namespace
