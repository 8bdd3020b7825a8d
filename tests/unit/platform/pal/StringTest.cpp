#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "StringRep.h"

using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::NotFound;
using LumPalStr::String_t;
using LumPalStr::UTF16CodePoint_t;

TEST(String, ADefaultStringIsEmptyAndNotNull) {
    const String_t text;
    EXPECT_FALSE(text.IsNull());
    EXPECT_TRUE(text.IsNotNull());
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_FALSE(text.IsNotEmpty());
    EXPECT_EQ(text.GetLength(), 0u);
    EXPECT_EQ(text.GetBuffer()[0], 0);
}

TEST(String, NullIsAStateOfItsOwnWithTheLengthZero) {
    const String_t text = String_t::Null();
    EXPECT_TRUE(text.IsNull());
    EXPECT_FALSE(text.IsNotNull());
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetLength(), 0u);
    ASSERT_NE(text.GetBuffer(), nullptr);
    EXPECT_EQ(text.GetBuffer()[0], 0);
    EXPECT_EQ(text, String_t());
}

TEST(String, NullPointersOfEveryKindGiveTheNullString) {
    EXPECT_TRUE(String_t(static_cast<const char*>(nullptr)).IsNull());
    EXPECT_TRUE(String_t(static_cast<const char16_t*>(nullptr)).IsNull());
    EXPECT_TRUE(String_t(static_cast<const char16_t*>(nullptr), 5).IsNull());
    EXPECT_TRUE(String_t(static_cast<const wchar_t*>(nullptr)).IsNull());
}

TEST(String, EmptyTextsOfEveryKindGiveTheEmptyStringAndNotNull) {
    for (const String_t& text : {String_t(""), String_t(u""), String_t(L""), String_t(u"x", 0)}) {
        EXPECT_TRUE(text.IsEmpty());
        EXPECT_TRUE(text.IsNotNull());
    }
}

TEST(String, EveryConstructorHoldsTheSameText) {
    for (const String_t& text : {String_t("abc"), String_t(u"abc"), String_t(u"abcdef", 3), String_t(L"abc")}) {
        EXPECT_EQ(text, "abc");
        EXPECT_EQ(text, u"abc");
        EXPECT_EQ(text.GetLength(), 3u);
        EXPECT_EQ(text.GetBuffer()[3], 0);
    }
    EXPECT_EQ(String_t(u'x'), "x");
    EXPECT_EQ(String_t(UTF16CodePoint_t('x')), "x");
}

TEST(String, ATextWithLengthMayHoldZeroUnits) {
    const String_t text(u"a\0b", 3);
    EXPECT_EQ(text.GetLength(), 3u);
    EXPECT_EQ(text.GetAt(1), u'\0');
    EXPECT_NE(text, "a");
}

TEST(String, WideTextBeyondTheBasicPlaneBecomesASurrogatePair) {
    const String_t text(L"a\U0001F600z");
    EXPECT_EQ(text, u"a\U0001F600z");
    EXPECT_EQ(text.GetLength(), 4u);
    EXPECT_EQ(text.GetAt(1), 0xD83D);
    EXPECT_EQ(text.GetAt(2), 0xDE00);
}

TEST(String, WideValuesThatAreNoCharactersBecomeTheReplacement) {
    for (const wchar_t value :
         {wchar_t(0x110000), wchar_t(0x7FFFFFFF), wchar_t(-1), wchar_t(0xD800), wchar_t(0xDFFF)}) {
        const wchar_t text[] = {L'a', value, L'b', 0};
        EXPECT_EQ(String_t(text), u"a\uFFFDb") << static_cast<long>(value);
    }
}

TEST(String, BytesThatAreNotAsciiBecomeTheReplacement) {
    const String_t text("a\xC3\xA9z");
    EXPECT_EQ(text, u"a\uFFFD\uFFFDz");
    EXPECT_EQ(text, "a\xC3\xA9z");
    EXPECT_EQ(String_t("\xFF"), u"\uFFFD");
}

TEST(String, CopiesAreIndependent) {
    const String_t original("abc");
    String_t copy(original);
    copy.SetAt(0, 'X');
    EXPECT_EQ(original, "abc");
    EXPECT_EQ(copy, "Xbc");
    String_t assigned;
    assigned = original;
    assigned += "d";
    EXPECT_EQ(original, "abc");
    EXPECT_EQ(assigned, "abcd");
}

TEST(String, ACopySharesTheBufferUntilOneOfThemChanges) {
    const String_t original("abc");
    String_t copy(original);
    EXPECT_EQ(copy.GetBuffer(), original.GetBuffer());
    copy.SetAt(1, u'b');
    EXPECT_NE(copy.GetBuffer(), original.GetBuffer());
}

TEST(String, AssigningAStringToItselfKeepsIt) {
    String_t text("abc");
    const String_t& same = text;
    text = same;
    EXPECT_EQ(text, "abc");
    text = std::move(const_cast<String_t&>(same));
    EXPECT_EQ(text, "abc");
}

TEST(String, AMovedFromStringCanBeUsedAgain) {
    String_t source("abc");
    const String_t target(std::move(source));
    EXPECT_EQ(target, "abc");
    EXPECT_TRUE(source.IsEmpty());
    source += "new";
    EXPECT_EQ(source, "new");
}

TEST(String, GetAtAndSetAtTakeEveryPositionBelowTheLength) {
    String_t text("abc");
    text.SetAt(2, 'Z');
    EXPECT_EQ(text.GetAt(0), 'a');
    EXPECT_EQ(text.GetAt(2), u'Z');
    text.SetAt(0, char16_t(0x20AC));
    EXPECT_EQ(text, u"\u20ACbZ");
}

TEST(String, GetAtAndSetAtRefuseEveryOtherPosition) {
    String_t text("abc");
    for (const std::uint32_t position : {3u, 4u, 0x7FFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        EXPECT_THROW(text.GetAt(position), IllegalArgumentError_t) << position;
        EXPECT_THROW(text.SetAt(position, 'x'), IllegalArgumentError_t) << position;
    }
    EXPECT_THROW(String_t().GetAt(0), IllegalArgumentError_t);
    EXPECT_THROW(String_t::Null().GetAt(0), IllegalArgumentError_t);
    EXPECT_EQ(text, "abc");
}

TEST(String, ABadPositionIsNamed) {
    try {
        String_t("abc").GetAt(7);
        FAIL();
    } catch (const IllegalArgumentError_t& e) {
        EXPECT_NE(std::string(e.what()).find("7"), std::string::npos);
        EXPECT_NE(std::string(e.what()).find("3"), std::string::npos);
    }
}

TEST(String, LastCharIsTheLastUnitOrZero) {
    EXPECT_EQ(String_t("abc").LastChar(), 'c');
    EXPECT_EQ(String_t(u"a\U0001F600").LastChar(), 0xDE00);
    EXPECT_EQ(String_t().LastChar(), 0);
    EXPECT_EQ(String_t::Null().LastChar(), 0);
}

struct Cut {
    std::uint32_t n;
    const char* left;
    const char* right;
};

TEST(String, LeftAndRightCutToTheLength) {
    const Cut rows[] = {{0, "", ""},
                        {1, "a", "d"},
                        {3, "abc", "bcd"},
                        {4, "abcd", "abcd"},
                        {5, "abcd", "abcd"},
                        {0xFFFFFFFE, "abcd", "abcd"},
                        {0xFFFFFFFF, "abcd", "abcd"}};
    for (const auto& row : rows) {
        EXPECT_EQ(String_t("abcd").Left(row.n), row.left) << row.n;
        EXPECT_EQ(String_t("abcd").Right(row.n), row.right) << row.n;
    }
}

struct MidRow {
    std::uint32_t start;
    std::uint32_t end;
    const char* result;
};

TEST(String, MidTakesFromStartUpToEnd) {
    const MidRow rows[] = {{0, 4, "abcd"},
                           {0, 0, ""},
                           {1, 3, "bc"},
                           {3, 4, "d"},
                           {2, 2, ""},
                           {3, 1, ""},
                           {4, 4, ""},
                           {5, 9, ""},
                           {0, NotFound, "abcd"},
                           {2, NotFound, "cd"},
                           {4, NotFound, ""},
                           {9, NotFound, ""},
                           {NotFound, NotFound, ""},
                           {NotFound, 0, ""},
                           {1, 99, "bcd"}};
    for (const auto& row : rows) {
        EXPECT_EQ(String_t("abcd").Mid(row.start, row.end), row.result) << row.start << ", " << row.end;
    }
    EXPECT_EQ(String_t("abcd").Mid(1), "bcd");
}

TEST(String, CutsOfANullStringAreNullAndCutsOfATextAreNot) {
    EXPECT_TRUE(String_t::Null().Left(1).IsNull());
    EXPECT_TRUE(String_t::Null().Right(1).IsNull());
    EXPECT_TRUE(String_t::Null().Mid(1, 2).IsNull());
    EXPECT_TRUE(String_t::Null().ToLower().IsNull());
    EXPECT_TRUE(String_t("abc").Left(0).IsNotNull());
    EXPECT_TRUE(String_t("abc").Right(0).IsNotNull());
    EXPECT_TRUE(String_t("abc").Mid(2, 1).IsNotNull());
}

TEST(String, ConvertsToATerminatedTextAsLongAsItself) {
    const String_t text("abc");
    const char16_t* units = text;
    EXPECT_EQ(std::u16string_view(units), u"abc");
    EXPECT_EQ(units, text.GetBuffer());
    EXPECT_EQ(text.View(), u"abc");
}

TEST(String, OrderIsByUnitSoThatSurrogatesComeBeforeTheEndOfTheBasicPlane) {
    const String_t supplementary(u"\U0001F600");
    const String_t lastOfBasicPlane(u"\uFF5E");
    EXPECT_TRUE(supplementary < lastOfBasicPlane);
    EXPECT_TRUE(lastOfBasicPlane > supplementary);
}

struct OrderRow {
    const char* smaller;
    const char* larger;
};

TEST(String, OrderGoesFromTheLeft) {
    const OrderRow rows[] = {{"", "a"},
                             {"a", "b"},
                             {"a", "aa"},
                             {"Z", "a"},
                             {"03.00.010", "03.00.100"},
                             {"03.00.009", "03.00.010"},
                             {"03.00", "03.00.010"},
                             {"10", "9"}};
    for (const auto& row : rows) {
        const String_t small(row.smaller);
        const String_t large(row.larger);
        EXPECT_TRUE(small < large) << small << " " << large;
        EXPECT_TRUE(small <= large);
        EXPECT_TRUE(large > small);
        EXPECT_TRUE(large >= small);
        EXPECT_TRUE(small != large);
        EXPECT_FALSE(large < small);
        EXPECT_FALSE(large <= small);
        EXPECT_FALSE(small == large);
    }
}

TEST(String, EqualTextsAreNeitherBelowNorAbove) {
    const String_t a("same");
    const String_t b(u"same");
    EXPECT_TRUE(a == b && a <= b && a >= b);
    EXPECT_FALSE(a < b || a > b || a != b);
}

TEST(String, ComparesWithLiteralsOnEitherSide) {
    const String_t text("abc");
    EXPECT_TRUE(text == "abc" && "abc" == text && text == u"abc" && u"abc" == text);
    EXPECT_TRUE(text != "abd" && "ab" != text && text != u"abcd" && u"" != text);
    EXPECT_FALSE(text != "abc" || "abc" != text || text != u"abc" || u"abc" != text);
    EXPECT_TRUE(text < "abd" && "ab" < text && text < u"abd" && u"ab" < text && text > u"ab" && u"abd" > text);
    EXPECT_TRUE(text <= "abc" && "abc" >= text && text <= u"abc" && u"abc" <= text && text >= u"abc" && u"abc" >= text);
    EXPECT_FALSE(text < u"abc" || u"abc" < text || text > u"abc" || u"abc" > text || text >= u"b" || u"b" <= text);
    EXPECT_TRUE(static_cast<const char16_t*>(nullptr) < text && text > static_cast<const char16_t*>(nullptr));
    EXPECT_TRUE(String_t() == static_cast<const char*>(nullptr));
    EXPECT_TRUE(String_t::Null() == "");
    EXPECT_TRUE(String_t::Null() == static_cast<const char16_t*>(nullptr));
    EXPECT_FALSE(text == static_cast<const char*>(nullptr));
}

TEST(String, AUnitComparesWithUnitsLiteralsAndNumbers) {
    const UTF16CodePoint_t unit('A');
    EXPECT_TRUE(unit == UTF16CodePoint_t(u'A') && unit == 'A' && unit == u'A' && unit == 0x41 && 'A' == unit);
    EXPECT_TRUE(unit != UTF16CodePoint_t(u'B') && unit != 'B' && unit != u'B' && unit != 0);
    EXPECT_EQ(UTF16CodePoint_t('\xE9'), 0xE9);
    EXPECT_EQ(UTF16CodePoint_t(), 0);
}

TEST(String, ATextTooLongForItsPositionsIsRefusedBeforeMemoryIsTaken) {
    EXPECT_THROW(String_t(u"x", 0xFFFFFFFF), IllegalArgumentError_t);
    String_t text("ab");
    EXPECT_THROW(text.Append(u"x", 0xFFFFFFFE), IllegalArgumentError_t);
    EXPECT_THROW(text.Reserve(0xFFFFFFFF), IllegalArgumentError_t);
    EXPECT_THROW(String_t().Reserve(0xFFFFFFFF), IllegalArgumentError_t);
    EXPECT_THROW(String_t::Rep::New(std::uint64_t{1} << 32), IllegalArgumentError_t);
    EXPECT_EQ(text, "ab");
}

TEST(String, CopiesMayLiveInDifferentThreads) {
    const String_t shared("a text that all threads copy");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([copy = shared]() mutable {
            for (int i = 0; i < 1000; ++i) {
                String_t mine(copy);
                mine += u'!';
                copy = mine.Left(copy.GetLength());
            }
            EXPECT_EQ(copy, "a text that all threads copy");
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(shared, "a text that all threads copy");
}
