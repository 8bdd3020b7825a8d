#include "ToolFields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using LumConfCluster::ToolFields;
using LumConfCluster::WordsOf;
using LumPalStr::String_t;
using Texts = std::vector<std::string>;

Texts All(ToolFields fields) {
    Texts texts;
    while (!fields.IsEmpty()) texts.push_back(fields.Next().ToUtf8());
    return texts;
}

TEST(ToolFields, SeveralBlanksAreOneSeparator) {
    EXPECT_EQ(All(WordsOf(" \ta  b\t \tc ")), (Texts{"a", "b", "c"}));
    EXPECT_EQ(All(WordsOf("a")), Texts{"a"});
    for (const char* line : {"", " ", "\t \t"}) EXPECT_EQ(All(WordsOf(line)), Texts{}) << line;
}

TEST(ToolFields, FieldsMayBeEmptyAndKeepWhatStandsBeforeTheSeparator) {
    EXPECT_EQ(All(ToolFields("a::b : c:", ":")), (Texts{"a", "", "b ", "c"}));
    EXPECT_EQ(All(ToolFields(":", ":")), Texts{""});
}

TEST(ToolFields, BehindTheLastOneThereIsNothing) {
    ToolFields fields("a b", " ");
    EXPECT_EQ(fields.Skip(1).Rest(), "b");
    EXPECT_EQ(fields.Skip(5).Next(), "");
    EXPECT_TRUE(fields.IsEmpty());
    EXPECT_EQ(fields.Rest(), "");
}

TEST(ToolFields, AnyWhiteSpaceAroundIsNone) {
    EXPECT_EQ(All(ToolFields(u"\u00A0a:\u2003b\r\n", ":")), (Texts{"a", "b"}));
    EXPECT_EQ(All(ToolFields(String_t(u"a:\0b", 4), ":")).size(), 2u);
}

TEST(ToolFields, AMillionOfThemAreGoneThroughOnce) {
    String_t line;
    line.Reserve(2000000);
    for (int i = 0; i < 1000000; ++i) line += "a ";
    EXPECT_EQ(All(WordsOf(line)).size(), 1000000u);
}

}  // namespace
