#include <gtest/gtest.h>

#include <random>
#include <string>

#include "LumPalStr.h"

using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

struct Row {
    const char16_t* where;
    const char16_t* what;
    std::uint32_t start;
    std::uint32_t length;
    bool ignoreCase;
    std::uint32_t first;
    std::uint32_t last;
};

constexpr Row Rows[] = {
    {u"abcabc", u"abc", 0, NotFound, false, 0, 3},
    {u"abcabc", u"c", 0, NotFound, false, 2, 5},
    {u"abcabc", u"abc", 1, NotFound, false, 3, 3},
    {u"abcabc", u"abc", 3, NotFound, false, 3, 3},
    {u"abcabc", u"abc", 4, NotFound, false, NotFound, NotFound},
    {u"abcabc", u"abc", 0, 5, false, 0, 0},
    {u"abcabc", u"abc", 0, 2, false, NotFound, NotFound},
    {u"abcabc", u"abc", 1, 4, false, NotFound, NotFound},
    {u"abcabc", u"abc", 0, 0, false, NotFound, NotFound},
    {u"abcabc", u"abcabc", 0, NotFound, false, 0, 0},
    {u"abcabc", u"abcabcd", 0, NotFound, false, NotFound, NotFound},
    {u"abcabc", u"ABC", 0, NotFound, false, NotFound, NotFound},
    {u"abcabc", u"ABC", 0, NotFound, true, 0, 3},
    {u"aBcAbC", u"ABC", 1, NotFound, true, 3, 3},
    {u"abcabc", u"ABC", 0, 5, true, 0, 0},
    {u"abcabc", u"ABCD", 0, NotFound, true, NotFound, NotFound},
    {u"ab", u"ABC", 0, NotFound, true, NotFound, NotFound},
    {u"abcabc", u"abc", 6, NotFound, false, NotFound, NotFound},
    {u"abcabc", u"abc", 7, NotFound, false, NotFound, NotFound},
    {u"abcabc", u"abc", NotFound, NotFound, false, NotFound, NotFound},
    {u"abcabc", u"abc", NotFound, NotFound, true, NotFound, NotFound},
    {u"abcabc", u"", 0, NotFound, false, 0, 6},
    {u"abcabc", u"", 2, 1, false, 2, 3},
    {u"abcabc", u"", 6, NotFound, false, 6, 6},
    {u"abcabc", u"", 7, NotFound, false, NotFound, NotFound},
    {u"abcabc", u"", 0, NotFound, true, 0, 6},
    {u"", u"", 0, NotFound, false, 0, 0},
    {u"", u"a", 0, NotFound, false, NotFound, NotFound},
    {u"", u"a", 0, NotFound, true, NotFound, NotFound},
    {u"aaaa", u"aa", 0, NotFound, false, 0, 2},
    {u"x\U0001F600y", u"\U0001F600", 0, NotFound, false, 1, 1},
    {u"\u00C4rger \u00E4rger", u"\u00E4RGER", 0, NotFound, true, 0, 6},
    {u"x\U00010400", u"\U00010428", 0, NotFound, true, 1, 1},
    {u"x\U00010400", u"\U00010429", 0, NotFound, true, NotFound, NotFound},
    {u"\u03A3\u03C3\u03C2", u"\u03C3", 0, NotFound, true, 0, 2},
    {u"Stra\u00DFe", u"SS", 0, NotFound, true, NotFound, NotFound},
};

}  // namespace

TEST(StringSearch, FindGivesTheFirstAndReverseFindTheLastPosition) {
    for (const auto& row : Rows) {
        const String_t where(row.where);
        const String_t what(row.what);
        EXPECT_EQ(where.Find(what, row.start, row.length, row.ignoreCase), row.first)
            << where << " / " << what << " from " << row.start << " length " << row.length;
        EXPECT_EQ(where.ReverseFind(what, row.start, row.length, row.ignoreCase), row.last)
            << where << " / " << what << " from " << row.start << " length " << row.length;
    }
}

namespace {

/// By definition: every position is tried.
std::uint32_t FirstByTrial(const std::u16string& where, const std::u16string& what) {
    for (std::size_t at = 0; at + what.size() <= where.size(); ++at) {
        if (where.compare(at, what.size(), what) == 0) return static_cast<std::uint32_t>(at);
    }
    return NotFound;
}

String_t Of(const std::u16string& text) {
    return String_t(text.data(), static_cast<std::uint32_t>(text.size()));
}

}  // namespace

TEST(StringSearch, LongTextsAreFoundWhereATrialOfEveryPositionFindsThem) {
    std::mt19937 random(4711);
    const auto text = [&](std::size_t length) {
        std::u16string made;
        while (made.size() < length) made += static_cast<char16_t>(u'a' + random() % 2);
        return made;
    };
    for (int round = 0; round < 2000; ++round) {
        // Periods in it are what a search may trip over.
        const std::u16string piece = text(1 + random() % 7);
        std::u16string what;
        while (what.size() < 31 + random() % 20) what += piece;
        std::u16string where = text(random() % 40);
        for (int i = 0; i < 3; ++i) where += what.substr(0, random() % (what.size() + 1)) + text(random() % 3);
        const std::u16string reversedWhere(where.rbegin(), where.rend()), reversedWhat(what.rbegin(), what.rend());
        std::uint32_t last = FirstByTrial(reversedWhere, reversedWhat);
        if (last != NotFound) last = static_cast<std::uint32_t>(where.size() - what.size()) - last;
        ASSERT_EQ(Of(where).Find(Of(what)), FirstByTrial(where, what)) << Of(where) << " / " << Of(what);
        ASSERT_EQ(Of(where).ReverseFind(Of(what)), last) << Of(where) << " / " << Of(what);
    }
}

TEST(StringSearch, AHostilePairOfTextsCostsNoMoreThanAnyOther) {
    // Tried position by position this would not end within hours.
    const std::u16string as(4'000'000, u'a'), half(2'000'000, u'a');
    const String_t where = Of(as), endsOtherwise = Of(half + u'b'), beginsOtherwise = Of(u'b' + half);
    for (const bool ignoreCase : {false, true}) {
        EXPECT_EQ(where.Find(endsOtherwise, 0, NotFound, ignoreCase), NotFound);
        EXPECT_EQ(where.ReverseFind(beginsOtherwise, 0, NotFound, ignoreCase), NotFound);
        EXPECT_EQ((where + "b").Find(endsOtherwise, 0, NotFound, ignoreCase), 2'000'000u);
        EXPECT_EQ(("b" + where).ReverseFind(beginsOtherwise, 0, NotFound, ignoreCase), 0u);
    }
}

TEST(StringSearch, ANullStringIsSearchedAsAnEmptyOne) {
    EXPECT_EQ(String_t::Null().Find("a"), NotFound);
    EXPECT_EQ(String_t::Null().Find(String_t::Null()), 0u);
    EXPECT_EQ(String_t("a").Find(String_t::Null()), 0u);
    EXPECT_EQ(String_t::Null().ReverseFind("a"), NotFound);
    EXPECT_EQ(String_t::Null().FindOneOf("a"), NotFound);
    EXPECT_EQ(String_t("a").FindOneOf(String_t::Null()), NotFound);
}

TEST(StringSearch, ALengthOfMinusOneMeansTheRest) {
    EXPECT_EQ(String_t("abcabc").Find("c", 3, static_cast<std::uint32_t>(-1), false), 5u);
}

struct OneOfRow {
    const char16_t* where;
    const char16_t* units;
    std::uint32_t start;
    std::uint32_t length;
    bool ignoreCase;
    std::uint32_t result;
};

TEST(StringSearch, FindOneOfGivesTheFirstUnitOfASet) {
    const OneOfRow rows[] = {
        {u"key=value", u"=:", 0, NotFound, false, 3},  {u"key:v=", u"=:", 0, NotFound, false, 3},
        {u"key:v=", u"=:", 4, NotFound, false, 5},     {u"key:v=", u"=:", 4, 1, false, NotFound},
        {u"key", u"=:", 0, NotFound, false, NotFound}, {u"key", u"", 0, NotFound, false, NotFound},
        {u"key", u"Y", 0, NotFound, false, NotFound},  {u"key", u"Y", 0, NotFound, true, 2},
        {u"key", u"y", 9, NotFound, false, NotFound},  {u"key", u"y", NotFound, NotFound, true, NotFound},
        {u"", u"y", 0, NotFound, false, NotFound},     {u"x\u00C4", u"\u00E4", 0, NotFound, true, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(String_t(row.where).FindOneOf(row.units, row.start, row.length, row.ignoreCase), row.result)
            << String_t(row.where) << " / " << String_t(row.units);
    }
}
