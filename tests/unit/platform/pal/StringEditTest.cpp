#include <gtest/gtest.h>

#include <string>

#include "LumPalMsg.h"
#include "LumPalStr.h"

using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::NotFound;
using LumPalStr::String_t;
using LumPalStr::UTF16CodePoint_t;

TEST(StringEdit, AppendsEveryKindOfText) {
    String_t text("a");
    text += String_t("b");
    text += "c";
    text += u"d";
    text += UTF16CodePoint_t('e');
    text += u'f';
    text += 'g';
    text.Append(String_t("h")).Append(u"ijk", 1);
    EXPECT_EQ(text, "abcdefghi");
    EXPECT_EQ(text.GetBuffer()[text.GetLength()], 0);
}

TEST(StringEdit, AppendingNothingLeavesNullNull) {
    String_t text = String_t::Null();
    text += "";
    text += String_t::Null();
    text += static_cast<const char16_t*>(nullptr);
    text.Append(nullptr, 4);
    text.Append(u"x", 0);
    EXPECT_TRUE(text.IsNull());
    text += "a";
    EXPECT_EQ(text, "a");
}

TEST(StringEdit, AppendingNullToATextChangesNothing) {
    String_t text("a");
    text += String_t::Null();
    text += static_cast<const char*>(nullptr);
    EXPECT_EQ(text, "a");
}

TEST(StringEdit, AStringCanBeAppendedToItself) {
    String_t text("abc");
    text += text;
    EXPECT_EQ(text, "abcabc");
    text.Append(text.GetBuffer() + 1, 2);
    EXPECT_EQ(text, "abcabcbc");
    text += static_cast<const char16_t*>(text);
    EXPECT_EQ(text, "abcabcbcabcabcbc");
}

TEST(StringEdit, APartOfASharedTextCanBeAppendedToOneOfItsHolders) {
    const String_t other("abc");
    String_t text(other);
    text.Append(text.GetBuffer(), 2);
    EXPECT_EQ(text, "abcab");
    EXPECT_EQ(other, "abc");
}

TEST(StringEdit, JoinsTextsOfEveryKindOnEitherSide) {
    const String_t b("b");
    EXPECT_EQ(b + String_t("c"), "bc");
    EXPECT_EQ(b + "c", "bc");
    EXPECT_EQ(b + u"c", "bc");
    EXPECT_EQ("a" + b, "ab");
    EXPECT_EQ(u"a" + b, "ab");
    EXPECT_EQ("a" + b + u"c" + "d", "abcd");
}

TEST(StringEdit, JoinedTextsAreNeverNull) {
    const String_t null = String_t::Null();
    EXPECT_TRUE((null + null).IsNotNull());
    EXPECT_TRUE((null + "").IsNotNull());
    EXPECT_TRUE((u"" + null).IsNotNull());
    EXPECT_EQ(null + "a", "a");
    EXPECT_EQ("a" + null, "a");
    EXPECT_EQ(null + String_t("a"), "a");
    EXPECT_EQ(String_t("a") + null, "a");
}

TEST(StringEdit, GrowsByManySmallStepsAndKeepsEveryUnit) {
    String_t text;
    std::u16string expected;
    for (int i = 0; i < 20000; ++i) {
        text += UTF16CodePoint_t(static_cast<char16_t>(i));
        expected += static_cast<char16_t>(i);
    }
    EXPECT_EQ(text.View(), expected);
}

TEST(StringEdit, ReserveKeepsTheTextAndMakesNullEmpty) {
    String_t text("abc");
    text.Reserve(1000);
    const char16_t* buffer = text.GetBuffer();
    for (int i = 0; i < 900; ++i) text += u'x';
    EXPECT_EQ(text.GetBuffer(), buffer);
    EXPECT_EQ(text.Left(4), "abcx");
    String_t null = String_t::Null();
    null.Reserve(10);
    EXPECT_TRUE(null.IsNotNull());
    EXPECT_TRUE(null.IsEmpty());
}

struct ReplaceRow {
    std::uint32_t start;
    std::uint32_t n;
    const char* text;
    const char* result;
};

TEST(StringEdit, ReplacePutsATextInThePlaceOfAnother) {
    const ReplaceRow rows[] = {
        {0, 0, "", "abcd"},        {0, 1, "X", "Xbcd"},     {1, 2, "X", "aXd"},     {1, 2, "WXYZ", "aWXYZd"},
        {1, 2, "", "ad"},          {0, 4, "", ""},          {4, 0, "X", "abcdX"},   {4, 9, "X", "abcdX"},
        {2, NotFound, "X", "abX"}, {0, NotFound, "X", "X"}, {0, 0, "XY", "XYabcd"}, {3, 1, "longer", "abclonger"},
    };
    for (const auto& row : rows) {
        String_t text("abcd");
        EXPECT_EQ(text.Replace(row.start, row.n, row.text), row.result) << row.start << ", " << row.n;
        EXPECT_EQ(text.GetBuffer()[text.GetLength()], 0);
    }
}

TEST(StringEdit, ReplaceRefusesAStartBehindTheEnd) {
    String_t text("abcd");
    EXPECT_THROW(text.Replace(5, 0, "X"), IllegalArgumentError_t);
    EXPECT_THROW(text.Replace(NotFound, NotFound, "X"), IllegalArgumentError_t);
    EXPECT_THROW(String_t::Null().Replace(1, 0, "X"), IllegalArgumentError_t);
    EXPECT_EQ(text, "abcd");
}

TEST(StringEdit, ReplaceLeavesOtherHoldersOfTheTextAlone) {
    const String_t other("abcd");
    String_t text(other);
    text.Replace(0, 2, "X");
    EXPECT_EQ(text, "Xcd");
    EXPECT_EQ(other, "abcd");
}

TEST(StringEdit, AStringCanBePutIntoItself) {
    String_t text("abc");
    text.Replace(1, 1, text);
    EXPECT_EQ(text, "aabcc");
}

TEST(StringEdit, ReplaceInANullStringMakesAText) {
    String_t text = String_t::Null();
    EXPECT_EQ(text.Replace(0, NotFound, "abc"), "abc");
}

TEST(StringEdit, ClearMakesEveryStringEmptyAndNotNull) {
    String_t text("abc");
    const String_t other(text);
    text.Clear();
    EXPECT_TRUE(text.IsEmpty() && text.IsNotNull());
    EXPECT_EQ(other, "abc");
    String_t null = String_t::Null();
    null.Clear();
    EXPECT_TRUE(null.IsNotNull());
}

struct TrimRow {
    const char16_t* text;
    const char16_t* result;
};

TEST(StringEdit, TrimTakesWhiteSpaceOffBothEnds) {
    const TrimRow rows[] = {
        {u"abc", u"abc"},
        {u"  abc", u"abc"},
        {u"abc\t\r\n\v\f ", u"abc"},
        {u" a b ", u"a b"},
        {u" \t ", u""},
        {u"", u""},
        {u"\u00A0\u0085\u1680\u2003\u2028\u2029\u202F\u205F\u3000x\u3000", u"x"},
        {u"\u200Bx\uFEFF", u"\u200Bx\uFEFF"},
        {u"\x1Fx\x08", u"\x1Fx\x08"},
    };
    for (const auto& row : rows) {
        String_t text(row.text);
        EXPECT_EQ(&text.Trim(), &text);
        EXPECT_EQ(text, row.result);
        EXPECT_TRUE(text.IsNotNull());
    }
    String_t null = String_t::Null();
    EXPECT_TRUE(null.Trim().IsNull());
}
