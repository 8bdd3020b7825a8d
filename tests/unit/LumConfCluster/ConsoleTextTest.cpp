#include <gtest/gtest.h>

#include "LumConfCluster/ClusterUtil.h"

namespace {

using LumConfCluster::ClusterUtil;
using MsgType = ClusterUtil::MsgType;

constexpr auto kNone = static_cast<MsgType>(9);

std::string Format(const char* input, int indent, int width, MsgType type = kNone) {
    return ClusterUtil::FormatOutputString(input, indent, width, type).ToUtf8();
}

TEST(FormatOutputString, PutsTheWordOfTheTypeFirst) {
    EXPECT_EQ(Format("text", 10, 80, MsgType::Info), "INFO:     text");
    EXPECT_EQ(Format("text", 10, 80, MsgType::Note), "NOTE:     text");
    EXPECT_EQ(Format("text", 10, 80, MsgType::Warning), "WARNING:  text");
    EXPECT_EQ(Format("text", 10, 80, MsgType::Error), "ERROR:    text");
    EXPECT_EQ(Format("text", 10, 80), "          text");
    EXPECT_EQ(Format("text", 10, 80, static_cast<MsgType>(-1)), "          text");
}

TEST(FormatOutputString, DoesNotCutAPrefixThatIsLongerThanTheIndent) {
    EXPECT_EQ(Format("text", 3, 80, MsgType::Warning), "WARNING: text");
    EXPECT_EQ(Format("text", 8, 80, MsgType::Warning), "WARNING:text") << "no blank at the indent itself";
}

TEST(FormatOutputString, PrefixAloneForAnEmptyText) {
    EXPECT_EQ(Format("", 7, 80, MsgType::Info), "INFO:  ");
    EXPECT_EQ(Format("", 0, 80), "");
}

TEST(FormatOutputString, WrapsAtTheWidthThatNoLineReaches) {
    EXPECT_EQ(Format("aaa bbb ccc", 2, 10), "  aaa bbb \n  ccc")
        << "the blank was placed before the word found no room";
    EXPECT_EQ(Format("aaa bb", 2, 9), "  aaa bb");
    EXPECT_EQ(Format("aaa bb", 2, 8), "  aaa \n  bb") << "a word that would reach the width goes to the next line";
}

TEST(FormatOutputString, KeepsLineFeeds) {
    EXPECT_EQ(Format("a\nb", 2, 20), "  a\n  b");
    EXPECT_EQ(Format("a\n\nb\n", 2, 20), "  a\n\n  b\n");
    EXPECT_EQ(Format("\na", 2, 20, MsgType::Info), "INFO: \n  a") << "a blank behind a prefix beyond the indent";
    EXPECT_EQ(Format("\n", 2, 20), "  \n");
}

TEST(FormatOutputString, KeepsBlanksBetweenWords) {
    EXPECT_EQ(Format("a  b", 0, 20), "a  b");
}

TEST(FormatOutputString, BreaksAWordThatFindsNoRoom) {
    EXPECT_EQ(Format("abcdefghij", 2, 8), "  abcdef\n  ghij");
    EXPECT_EQ(Format("x abcdefghij y", 2, 8), "  x abcd\n  efghij\n  y");
    EXPECT_EQ(Format("abcdef", 2, 8), "  abcdef\n") << "a word just as long as the room ends its line";
    EXPECT_EQ(Format("abcdef\nx", 2, 8), "  abcdef\n\n  x");
    EXPECT_EQ(Format("xxx abcdefgh", 0, 4), "xxx \nabcd\nefgh\n") << "no room is left behind the blank";
}

TEST(FormatOutputString, EndsWhateverTheMeasures) {
    EXPECT_EQ(Format("ab", 5, 5), "     a\n     b\n");
    EXPECT_EQ(Format("ab", 5, 0), "     a\n     b\n");
    EXPECT_EQ(Format("ab", -1, -1), "a\nb\n");
}

}  // namespace
