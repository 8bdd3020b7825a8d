// Places and texts that are found by their hashes.
#include "HashedPlaces.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "HashedTexts.h"
#include "Tenfold.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;

String_t Word(int number) {
    return String_t::FromUtf8("word-" + std::to_string(number));
}

TEST(HashedPlaces, NothingIsInAnEmptyOne) {
    HashedPlaces places;
    EXPECT_FALSE(places.Has(0, [](std::size_t) { return true; }));
    EXPECT_EQ(places.GetCount(), 0u);
    places.Add(7, 3);
    places.Clear();
    EXPECT_FALSE(places.Has(7, [](std::size_t) { return true; }));
    EXPECT_EQ(places.GetCount(), 0u);
}

TEST(HashedPlaces, OfEntriesThatMeetEachIsAskedForAndNoOther) {
    HashedPlaces places;
    for (std::size_t place = 0; place < 5; ++place) places.Add(42, place);
    places.Add(42 + 64, 5);
    places.Add(43, 6);
    std::set<std::size_t> asked;
    EXPECT_FALSE(places.Has(42, [&](std::size_t place) {
        asked.insert(place);
        return false;
    }));
    EXPECT_EQ(asked, (std::set<std::size_t>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(places.Has(43, [](std::size_t place) { return place == 6; }));
    EXPECT_FALSE(places.Has(44, [](std::size_t) { return true; }));
}

TEST(HashedPlaces, ItFindsWhatItHasAlsoWhenItHasGrown) {
    HashedPlaces places;
    constexpr std::size_t count = 10000;
    for (std::size_t place = 0; place < count; ++place)
        places.Add(static_cast<std::uint32_t>(place * 2654435761u), place);
    EXPECT_EQ(places.GetCount(), count);
    for (std::size_t wanted = 0; wanted < count; ++wanted) {
        const auto hash = static_cast<std::uint32_t>(wanted * 2654435761u);
        EXPECT_TRUE(places.Has(hash, [&](std::size_t place) { return place == wanted; })) << wanted;
    }
}

TEST(HashedTexts, ItHasWhatItWasGivenAndNothingElse) {
    std::vector<String_t> words;
    for (int i = 0; i < 1000; ++i) words.push_back(Word(i));
    const HashedTexts<String_t> texts(words);
    for (const String_t& word : words) EXPECT_TRUE(texts.Has(word)) << word;
    for (const char* other : {"word-1000", "Word-1", "word-1 ", "", "word"}) EXPECT_FALSE(texts.Has(other)) << other;
    EXPECT_FALSE(texts.IsEmpty());
    EXPECT_TRUE(HashedTexts<String_t>({}).IsEmpty());
    EXPECT_FALSE(HashedTexts<String_t>({}).Has(""));
}

TEST(HashedTexts, APairIsFoundByBothItsTexts) {
    const HashedTexts<TextPair> pairs({{"a", "1"}, {"a", "2"}, {"b", "1"}});
    EXPECT_TRUE(pairs.Has({"a", "2"}));
    EXPECT_TRUE(pairs.Has({"b", "1"}));
    EXPECT_FALSE(pairs.Has({"b", "2"}));
    EXPECT_FALSE(pairs.Has({"a", ""}));
}

TEST(HashedTexts, TheSameWordOverAndOverCostsNoMoreThanOthers) {
    EXPECT_LT(TenfoldRatio(5000,
                           [](int count) {
                               const std::vector<String_t> words(static_cast<std::size_t>(count), Word(1));
                               return ProcessorSeconds([&] { HashedTexts<String_t> texts(words); });
                           }),
              kMostForTenfold);
}

}  // namespace
}  // namespace LumConf
