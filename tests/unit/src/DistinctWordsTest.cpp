#include "DistinctWords.h"

#include <gtest/gtest.h>

#include <string>

#include "LumPalMsg.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using Words = std::vector<String_t>;

TEST(DistinctWords, EachWordStandsWhereItComesFirst) {
    EXPECT_EQ(DistinctWords(" b a  b c a a "), (Words{"b", "a", "c"}));
    EXPECT_EQ(DistinctWords("a A a\tb"), (Words{"a", "A", "a\tb"}));
    EXPECT_TRUE(DistinctWords("").empty());
    EXPECT_TRUE(DistinctWords(String_t::Null()).empty());
}

TEST(DistinctWords, OneThatComesAMillionTimesIsKeptOnce) {
    std::u16string text;
    for (int i = 0; i < 1000000; ++i) text += u"a ";
    EXPECT_EQ(DistinctWords(String_t(text.c_str())), (Words{"a"}));
}

TEST(DistinctWords, ThereAreNoMoreThanThereMayBe) {
    std::string text;
    for (std::size_t i = 0; i < kMostWords; ++i) text += std::to_string(i) + " 7 ";
    EXPECT_EQ(DistinctWords(String_t(text.c_str())).size(), kMostWords);
    text += "more";
    EXPECT_THROW(DistinctWords(String_t(text.c_str())), LumPalMsg::IllegalArgumentError_t);
}

TEST(WordsAmong, OnlyWhatIsKnownIsKept) {
    const Words known{"a", "b", "c"};
    EXPECT_EQ(WordsAmong("x c y a c z", known), (Words{"c", "a"}));
    EXPECT_TRUE(WordsAmong("x y z", known).empty());
    EXPECT_TRUE(WordsAmong("a b", {}).empty());
}

}  // namespace
}  // namespace LumConf
