// Hashes of texts that somebody else has chosen.
#include "TextHash.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace LumConf {
namespace {

using LumPalStr::String_t;

String_t Units(const std::u16string& units) {
    return String_t(units.data(), static_cast<std::uint32_t>(units.size()));
}

/// How many of the texts have a hash of their own.
std::size_t CountHashes(const std::vector<String_t>& texts) {
    std::set<std::uint32_t> hashes;
    for (const String_t& text : texts) hashes.insert(HashOf(text));
    return hashes.size();
}

TEST(TextHash, EqualTextsHaveEqualHashes) {
    EXPECT_EQ(HashOf(String_t("category")), HashOf(Units(u"category")));
    EXPECT_EQ(HashOf(String_t::Null()), HashOf(String_t("")));
    EXPECT_EQ(HashOf(TextPair("name", "value")), HashOf(TextPair(Units(u"name"), Units(u"value"))));
    EXPECT_EQ(HashOf(TextPair(String_t::Null(), "v")), HashOf(TextPair("", "v")));
}

TEST(TextHash, TextsThatDifferInTheirEndsHaveHashesOfTheirOwn) {
    std::vector<String_t> texts;
    for (std::size_t length = 0; length < 200; ++length) texts.push_back(Units(std::u16string(length, u'\0')));
    for (std::size_t length = 1; length < 200; ++length) texts.push_back(Units(std::u16string(length, u'a')));
    EXPECT_GE(CountHashes(texts) + 1, texts.size());
}

TEST(TextHash, APairIsNoneOfItsOtherParts) {
    const std::vector<TextPair> pairs{{"ab", "c"}, {"a", "bc"}, {"abc", ""}, {"", "abc"}, {"c", "ab"}, {"bc", "a"}};
    std::set<std::uint32_t> hashes;
    for (const TextPair& pair : pairs) hashes.insert(HashOf(pair));
    EXPECT_GE(hashes.size() + 1, pairs.size());
}

struct Family {
    const char* what;
    /// The text with this number, of 65,536.
    std::u16string (*text)(unsigned number);
};

/// Two letters for each bit, which a hash of the form 31 * h + unit takes for the same.
std::u16string Bits(unsigned number, const char16_t* zero, const char16_t* one) {
    std::u16string text;
    for (int bit = 0; bit < 16; ++bit) text += number >> bit & 1 ? one : zero;
    return text;
}

const Family kFamilies[] = {
    {"numbers",
     [](unsigned n) {
         return std::u16string{u'c', static_cast<char16_t>(n)};
     }},
    {"blocks that a hash of 31 takes for the same", [](unsigned n) { return Bits(n, u"Aa", u"BB"); }},
    {"blocks that a hash of 33 takes for the same", [](unsigned n) { return Bits(n, u"bB", u"c!"); }},
    {"sums that are the same", [](unsigned n) { return Bits(n, u"ad", u"bc"); }},
    {"the same units in another order", [](unsigned n) { return Bits(n, u"xy", u"yx"); }},
    {"one unit far behind", [](unsigned n) { return std::u16string(500, u'a') + static_cast<char16_t>(n); }},
};

TEST(TextHash, NoFamilyOfTextsMeets) {
    for (const Family& family : kFamilies) {
        std::vector<String_t> texts;
        for (unsigned n = 0; n < 65536; ++n) texts.push_back(Units(family.text(n)));
        // Of as many drawn by lot about one meets another.
        EXPECT_GT(CountHashes(texts), texts.size() - 300) << family.what;
    }
}

}  // namespace
}  // namespace LumConf
