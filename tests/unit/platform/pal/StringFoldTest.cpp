#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include <clocale>
#include <string>

#include "LumPalStr.h"
#include "StringAscii.h"

using LumPalStr::Compare;
using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

/// Makes a language the process's own for the C library, where it is installed, and for the Unicode library.
class LocaleScope {
public:
    explicit LocaleScope(const char* name) : before(uloc_getDefault()) {
        std::setlocale(LC_ALL, (std::string(name) + ".UTF-8").c_str());
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault(name, &status);
        EXPECT_STREQ(uloc_getDefault(), name);
    }
    ~LocaleScope() {
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault(before.c_str(), &status);
        std::setlocale(LC_ALL, "C");
    }

private:
    std::string before;
};

struct LowerRow {
    const char16_t* text;
    const char16_t* lower;
};

constexpr LowerRow LowerRows[] = {
    {u"", u""},
    {u"ABCXYZ", u"abcxyz"},
    {u"already-low_09", u"already-low_09"},
    {u"@[`{", u"@[`{"},
    {u"TITLE I", u"title i"},
    {u"\u0130", u"i\u0307"},
    {u"I\u0131", u"i\u0131"},
    {u"\u00C4\u00D6\u00DC\u1E9E", u"\u00E4\u00F6\u00FC\u00DF"},
    {u"\u039F\u03A3", u"\u03BF\u03C2"},
    {u"\u0410\u042F", u"\u0430\u044F"},
    {u"A\U00010400Z", u"a\U00010428z"},
    {u"A\xD800Z", u"a\xD800z"},
};

struct CompareRow {
    const char16_t* a;
    const char16_t* b;
    int exact;
    int folded;
};

constexpr CompareRow CompareRows[] = {
    {u"", u"", 0, 0},
    {u"", u"a", -1, -1},
    {u"abc", u"abc", 0, 0},
    {u"abc", u"ABC", 1, 0},
    {u"ABC", u"abd", -1, -1},
    {u"abc", u"ABCD", 1, -1},
    {u"a", u"B", 1, -1},
    {u"I", u"i", -1, 0},
    {u"I", u"\u0131", -1, -1},
    {u"\u0130", u"i", 1, 1},
    {u"\u00C4", u"\u00E4", -1, 0},
    {u"\u212A", u"k", 1, 0},
    {u"\u017F", u"s", 1, 0},
    {u"\u03C2", u"\u03A3", 1, 0},
    {u"\U00010400", u"\U00010428", -1, 0},
    {u"\U00010400", u"\uFF5E", -1, -1},
    {u"\xD800", u"\U00010000", -1, -1},
    {u"\xD800z", u"\xD800Z", 1, 0},
    {u"\u00DF", u"ss", 1, 1},
};

int Sign(int value) {
    return (value > 0) - (value < 0);
}

void ExpectEveryRow() {
    for (const auto& row : LowerRows) EXPECT_EQ(String_t(row.text).ToLower(), row.lower) << String_t(row.text);
    for (const auto& row : CompareRows) {
        EXPECT_EQ(Sign(Compare(row.a, row.b)), row.exact) << String_t(row.a) << " " << String_t(row.b);
        EXPECT_EQ(Sign(Compare(row.b, row.a)), -row.exact) << String_t(row.a) << " " << String_t(row.b);
        EXPECT_EQ(Sign(Compare(row.a, row.b, true)), row.folded) << String_t(row.a) << " " << String_t(row.b);
        EXPECT_EQ(Sign(Compare(row.b, row.a, true)), -row.folded) << String_t(row.a) << " " << String_t(row.b);
    }
    EXPECT_EQ(String_t("TITLE").Find("title", 0, NotFound, true), 0u);
}

}  // namespace

TEST(StringFold, FoldsByUnicodeRules) {
    ExpectEveryRow();
}

TEST(StringFold, FoldsAlikeInEveryLocale) {
    for (const char* name : {"tr_TR", "az", "lt_LT", "de_DE", "el_GR"}) {
        const LocaleScope scope(name);
        SCOPED_TRACE(name);
        ExpectEveryRow();
    }
}

TEST(StringFold, ALowerTextIsSharedAndTheOriginalStays) {
    const String_t lower("lower");
    EXPECT_EQ(lower.ToLower().GetBuffer(), lower.GetBuffer());
    const String_t upper("UPPER");
    EXPECT_EQ(upper.ToLower(), "upper");
    EXPECT_EQ(upper, "UPPER");
}

TEST(StringFold, LongTextsFoldAsShortOnesDo) {
    for (std::uint32_t length : {63u, 64u, 65u, 127u, 128u, 129u, 1000u}) {
        for (const std::uint32_t at : {0u, 1u, length / 2, length - 1}) {
            String_t text;
            for (std::uint32_t i = 0; i < length; ++i) text += u'x';
            String_t expected(text);
            text.SetAt(at, u'X');
            EXPECT_EQ(text.ToLower(), expected) << length << " " << at;
            text.SetAt(at, char16_t(0xC4));
            expected.SetAt(at, char16_t(0xE4));
            EXPECT_EQ(text.ToLower(), expected) << length << " " << at;
        }
    }
}

TEST(StringFold, ALowerTextMayBeLongerThanItsOriginal) {
    String_t text;
    String_t expected;
    for (int i = 0; i < 100; ++i) {
        text += u"\u0130";
        expected += u"i\u0307";
    }
    EXPECT_EQ(text.ToLower(), expected);
}

TEST(StringFold, TheFirstUnitThatDiffersDecidesWhereverItStands) {
    const std::u16string text = u"settings of a module";
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (const char16_t unit : {u'\u0001', u'\u0100', u'\uFFFF'}) {
            std::u16string other = text;
            other[at] = unit;
            other.back() = at + 1 < text.size() ? (unit < text[at] ? u'z' : u'!') : unit;  // says the contrary
            const int sign = unit < text[at] ? -1 : 1;
            const auto length = static_cast<std::uint32_t>(text.size());
            EXPECT_EQ(Sign(Compare(other.data(), length, text.data(), length)), sign) << at;
            EXPECT_EQ(String_t(other.data(), length) < String_t(text.data(), length), sign < 0) << at;
        }
        EXPECT_TRUE(String_t(text.data(), static_cast<std::uint32_t>(at)) < String_t(text.c_str())) << at;
    }
}

TEST(StringFold, CompareWithLengthsReadsNoFurther) {
    EXPECT_EQ(Compare(u"abcX", 3, u"abcY", 3), 0);
    EXPECT_EQ(Compare(u"ABCX", 3, u"abcY", 3, true), 0);
    EXPECT_GT(Compare(u"ABCX", 3, u"abcY", 2, true), 0);
    EXPECT_LT(Compare(u"ab", 2, u"abcY", 3), 0);
    EXPECT_EQ(Compare(u"a\0b", 3, u"a\0B", 3, true), 0);
    EXPECT_LT(Compare(u"a\0b", 3, u"a\0c", 3), 0);
    EXPECT_EQ(Compare(u"x", 0, u"y", 0), 0);
}

TEST(StringFold, CompareTakesNullPointersAsEmptyTexts) {
    const char16_t* null = nullptr;
    EXPECT_EQ(Compare(null, null), 0);
    EXPECT_EQ(Compare(null, u""), 0);
    EXPECT_LT(Compare(null, u"a", true), 0);
    EXPECT_GT(Compare(u"a", null), 0);
    EXPECT_EQ(Compare(null, 5, null, 7, true), 0);
    EXPECT_LT(Compare(null, 5, u"a", 1), 0);
}

TEST(StringFold, CompareTakesStrings) {
    EXPECT_EQ(Compare(String_t("Name"), String_t("NAME"), true), 0);
    EXPECT_NE(Compare(String_t("Name"), String_t("NAME"), false), 0);
}

TEST(StringFold, EveryAsciiUnitFoldsAsTheAlphabetSays) {
    for (char16_t unit = 0; unit < 0x80; ++unit) {
        const bool upper = unit >= u'A' && unit <= u'Z';
        const char16_t expected = upper ? static_cast<char16_t>(unit + 32) : unit;
        EXPECT_EQ(String_t(&unit, 1).ToLower(), String_t(&expected, 1)) << int{unit};
        EXPECT_EQ(LumPalStr::Ascii::HasUpper(&unit, 1), upper) << int{unit};
    }
}
