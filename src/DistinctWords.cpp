#include "DistinctWords.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "HashedPlaces.h"
#include "HashedTexts.h"
#include "LumPalMsg.h"
#include "StringList.h"
#include "TextHash.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

/// Takes each text once.
class DistinctTexts {
public:
    void Take(const String_t& text) {
        const std::uint32_t hash = HashOf(text);
        if (places.Has(hash, [&](std::size_t place) { return texts[place] == text; })) return;
        if (texts.size() == kMostWords)
            throw LumPalMsg::IllegalArgumentError_t(
                LumPalMsg::CreateError_t("The categories are refused. One operation takes at most '%1' different ones.")
                << static_cast<unsigned>(kMostWords));
        places.Add(hash, texts.size());
        texts.push_back(text);
    }
    std::vector<String_t> TakeAll() { return std::move(texts); }

private:
    std::vector<String_t> texts;
    HashedPlaces places;
};

/// A word that is the whole text shares its memory.
String_t WordOf(const String_t& text, std::u16string_view word) {
    const auto length = static_cast<std::uint32_t>(word.size());
    return length == text.GetLength() ? text : String_t(word.data(), length);
}

std::size_t LongestOf(const std::vector<String_t>& texts) {
    std::size_t longest = 0;
    for (const String_t& text : texts) longest = std::max<std::size_t>(longest, text.GetLength());
    return longest;
}

}  // namespace

std::vector<String_t> DistinctWords(const String_t& text) {
    DistinctTexts words;
    for (WordReader reader(text.View()); reader.Next();) words.Take(WordOf(text, reader.Get()));
    return words.TakeAll();
}

std::vector<String_t> WordsAmong(const String_t& text, std::vector<String_t> known) {
    const std::size_t longest = LongestOf(known);
    const HashedTexts<String_t> hashed(std::move(known));
    DistinctTexts words;
    for (WordReader reader(text.View()); reader.Next();) {
        if (reader.Get().size() > longest) continue;
        const String_t word = WordOf(text, reader.Get());
        if (hashed.Has(word)) words.Take(word);
    }
    return words.TakeAll();
}

}  // namespace LumConf
