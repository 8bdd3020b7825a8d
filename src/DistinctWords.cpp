#include "DistinctWords.h"

#include "HashedPlaces.h"
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

template <class Wanted>
std::vector<String_t> Collect(const String_t& text, const Wanted& isWanted) {
    DistinctTexts words;
    for (WordReader reader(text.View()); reader.Next();) {
        const String_t word(reader.Get().data(), static_cast<std::uint32_t>(reader.Get().size()));
        if (isWanted(word)) words.Take(word);
    }
    return words.TakeAll();
}

}  // namespace

std::vector<String_t> DistinctWords(const String_t& text) {
    return Collect(text, [](const String_t&) { return true; });
}

std::vector<String_t> WordsAmong(const String_t& text, const HashedTexts<String_t>& known) {
    return Collect(text, [&known](const String_t& word) { return known.Has(word); });
}

}  // namespace LumConf
