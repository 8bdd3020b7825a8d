/// @file
/// Texts that are asked for over and over.
#pragma once

#include <utility>
#include <vector>

#include "HashedPlaces.h"
#include "TextHash.h"

namespace LumConf {

/// A set of texts, or of pairs of texts, from outside: whether it has one is told in one look. It never changes; any
/// thread.
template <class Text>
class HashedTexts {
public:
    explicit HashedTexts(std::vector<Text> list) : texts(std::move(list)) {
        places.Reserve(texts.size());
        for (std::size_t i = 0; i < texts.size(); ++i) Take(i);
    }
    bool IsEmpty() const noexcept { return texts.empty(); }
    bool Has(const Text& text) const {
        return places.Has(HashOf(text), [&](std::size_t place) { return texts[place] == text; });
    }

private:
    /// Of equal texts the first one alone: all of them would stand in each other's way.
    void Take(std::size_t place) {
        if (!Has(texts[place])) places.Add(HashOf(texts[place]), place);
    }

    std::vector<Text> texts;
    HashedPlaces places;
};

}  // namespace LumConf
