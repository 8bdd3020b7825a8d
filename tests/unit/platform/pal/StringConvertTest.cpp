#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>

#include "LumPalMsg.h"
#include "LumPalStr.h"

using LumPalStr::Encoding_e;
using LumPalStr::MBS_t;
using LumPalStr::NumToStr;
using LumPalStr::String_t;

struct Utf8Row {
    const char* utf8;
    const char16_t* text;
};

TEST(StringUtf8, EveryWellFormedSequenceComesAndGoes) {
    const Utf8Row rows[] = {
        {"", u""},
        {"abc", u"abc"},
        {"\xC2\x80", u"\u0080"},
        {"\xDF\xBF", u"\u07FF"},
        {"\xE0\xA0\x80", u"\u0800"},
        {"\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000"},
        {"\xEF\xBF\xBF", u"\uFFFF"},
        {"\xF0\x90\x80\x80", u"\U00010000"},
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"a\xC3\xA9z\xF0\x9F\x98\x80!", u"a\u00E9z\U0001F600!"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(String_t::FromUtf8(row.utf8), row.text) << row.utf8;
        EXPECT_EQ(String_t(row.text).ToUtf8(), row.utf8);
        EXPECT_TRUE(String_t::FromUtf8(row.utf8).IsNotNull());
    }
}

TEST(StringUtf8, EveryMalformedSequenceBecomesTheReplacement) {
    const Utf8Row rows[] = {
        {"\x80", u"\uFFFD"},
        {"a\xFFz", u"a\uFFFDz"},
        {"\xC3", u"\uFFFD"},
        {"\xC3(", u"\uFFFD("},
        {"\xC0\xAF", u"\uFFFD\uFFFD"},
        {"\xE2\x82", u"\uFFFD"},
        {"\xE2\x82z", u"\uFFFDz"},
        {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x9F\x98", u"\uFFFD"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF8\x88\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const auto& row : rows) EXPECT_EQ(String_t::FromUtf8(row.utf8), row.text) << row.utf8;
}

TEST(StringUtf8, ZeroBytesAreCarried) {
    const String_t text = String_t::FromUtf8({"a\0b", 3});
    EXPECT_EQ(text.GetLength(), 3u);
    EXPECT_EQ(text.ToUtf8(), std::string("a\0b", 3));
}

TEST(StringUtf8, LoneSurrogatesBecomeTheReplacement) {
    for (const char16_t unit : {char16_t(0xD800), char16_t(0xDBFF), char16_t(0xDC00), char16_t(0xDFFF)}) {
        const char16_t units[] = {u'a', unit, u'z'};
        EXPECT_EQ(String_t(units, 3).ToUtf8(), "a\xEF\xBF\xBDz") << int{unit};
        EXPECT_EQ(String_t(&unit, 1).ToUtf8(), "\xEF\xBF\xBD") << int{unit};
    }
    const char16_t swapped[] = {0xDE00, 0xD83D};
    EXPECT_EQ(String_t(swapped, 2).ToUtf8(), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(StringUtf8, TheBoundaryBehindALongAsciiBeginningIsExact) {
    for (std::size_t length = 60; length < 70; ++length) {
        const std::string ascii(length, 'x');
        const String_t text = String_t::FromUtf8(ascii + "\xC3\xA9");
        EXPECT_EQ(text.GetLength(), length + 1);
        EXPECT_EQ(text.ToUtf8(), ascii + "\xC3\xA9");
        EXPECT_EQ(String_t::FromUtf8(ascii).ToUtf8(), ascii);
    }
}

TEST(StringUtf8, PrintsAsUtf8) {
    std::ostringstream out;
    out << String_t(u"\u00E9") << String_t::Null() << String_t("!");
    EXPECT_EQ(out.str(), "\xC3\xA9!");
    EXPECT_EQ(String_t::Null().ToUtf8(), "");
}

struct IntRow {
    const char16_t* text;
    std::int32_t signedValue;
    std::uint32_t unsignedValue;
};

TEST(StringNumber, ReadsDecimalNumbers) {
    const IntRow rows[] = {
        {u"0", 0, 0},
        {u"7", 7, 7},
        {u"-7", -7, 0},
        {u"+7", 7, 7},
        {u"  \t\r\n42", 42, 42},
        {u"42abc", 42, 42},
        {u"42 7", 42, 42},
        {u"007", 7, 7},
        {u"", 0, 0},
        {u"abc", 0, 0},
        {u"-", 0, 0},
        {u"+-5", 0, 0},
        {u"- 5", 0, 0},
        {u"0x10", 0, 0},
        {u"1.9", 1, 1},
        {u"\u0661", 0, 0},
        {u"2147483647", 2147483647, 2147483647u},
        {u"2147483648", 2147483647, 2147483648u},
        {u"-2147483648", std::numeric_limits<std::int32_t>::min(), 0},
        {u"-2147483649", std::numeric_limits<std::int32_t>::min(), 0},
        {u"4294967295", 2147483647, 4294967295u},
        {u"4294967296", 2147483647, 4294967295u},
        {u"18446744073709551617", 2147483647, 4294967295u},
        {u"-99999999999999999999999999", std::numeric_limits<std::int32_t>::min(), 0},
        {u"00000000000000000000000000000000012", 12, 12},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(String_t(row.text).ToInt(), row.signedValue) << String_t(row.text);
        EXPECT_EQ(String_t(row.text).ToUInt(), row.unsignedValue) << String_t(row.text);
    }
    EXPECT_EQ(String_t::Null().ToInt(), 0);
    EXPECT_EQ(String_t::Null().ToUInt(), 0u);
}

TEST(StringNumber, WritesTheBoundsOfEveryType) {
    EXPECT_EQ(NumToStr(0), "0");
    EXPECT_EQ(NumToStr(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(NumToStr(std::numeric_limits<int>::max()), "2147483647");
    EXPECT_EQ(NumToStr(std::numeric_limits<unsigned>::max()), "4294967295");
    EXPECT_EQ(NumToStr(-5L), "-5");
    EXPECT_EQ(NumToStr(5UL), "5");
    EXPECT_EQ(NumToStr(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(NumToStr(std::numeric_limits<long long>::max()), "9223372036854775807");
    EXPECT_EQ(NumToStr(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
}

struct MbsRow {
    const char16_t* text;
    Encoding_e encoding;
    const char* bytes;
};

TEST(MultiByte, CarriesWhatTheEncodingCanCarry) {
    const MbsRow rows[] = {
        {u"abc", Encoding_e::Local, "abc"},
        {u"abc", Encoding_e::Ascii, "abc"},
        {u"abc", Encoding_e::Latin1, "abc"},
        {u"abc", Encoding_e::Utf8, "abc"},
        {u"\u00E9", Encoding_e::Ascii, "?"},
        {u"\u00E9", Encoding_e::Latin1, "\xE9"},
        {u"\u00E9", Encoding_e::Utf8, "\xC3\xA9"},
        {u"a\u20ACz", Encoding_e::Latin1, "a?z"},
        {u"\U0001F600", Encoding_e::Latin1, "?"},
        {u"\U0001F600", Encoding_e::Ascii, "?"},
        {u"\U0001F600", Encoding_e::Utf8, "\xF0\x9F\x98\x80"},
        {u"", Encoding_e::Latin1, ""},
    };
    for (const auto& row : rows) {
        const MBS_t bytes(String_t(row.text), row.encoding);
        EXPECT_STREQ(bytes, row.bytes) << String_t(row.text);
        EXPECT_EQ(bytes.GetLength(), std::string(row.bytes).size());
    }
}

TEST(MultiByte, AByteTextGoesFromOneEncodingToAnother) {
    EXPECT_STREQ(MBS_t("\xE9", Encoding_e::Latin1, Encoding_e::Utf8), "\xC3\xA9");
    EXPECT_STREQ(MBS_t("\xC3\xA9", Encoding_e::Utf8, Encoding_e::Latin1), "\xE9");
    EXPECT_STREQ(MBS_t("\xC3\xA9", Encoding_e::Utf8, Encoding_e::Ascii), "?");
    EXPECT_STREQ(MBS_t("a\xFFz", Encoding_e::Utf8, Encoding_e::Utf8), "a\xEF\xBF\xBDz");
    EXPECT_STREQ(MBS_t("a\xE9z", Encoding_e::Ascii, Encoding_e::Utf8), "a\xEF\xBF\xBDz");
    EXPECT_STREQ(MBS_t("", Encoding_e::Latin1, Encoding_e::Utf8), "");
}

TEST(MultiByte, NullGivesAnEmptyText) {
    EXPECT_STREQ(MBS_t(String_t::Null()), "");
    EXPECT_STREQ(MBS_t(String_t::Null(), Encoding_e::Latin1), "");
    EXPECT_STREQ(MBS_t(nullptr, Encoding_e::Latin1, Encoding_e::Utf8), "");
}

TEST(MultiByte, TheLocalEncodingIsTheFirstOneAndUtf8WhereTheLocaleNamesNone) {
    EXPECT_EQ(static_cast<int>(Encoding_e::Local), 0);
    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    EXPECT_STREQ(MBS_t(String_t(u"\u00E9")), "\xC3\xA9");
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_STREQ(MBS_t(String_t(u"\u00E9")), "\xC3\xA9");
    std::setlocale(LC_ALL, "C");
}

TEST(MultiByte, AnUnknownEncodingIsRefused) {
    EXPECT_THROW(MBS_t(String_t("a"), static_cast<Encoding_e>(99)), LumPalMsg::IllegalArgumentError_t);
}
