/// @file
/// Hashes of texts from outside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "LumPalStr.h"

namespace LumConf {

using TextPair = std::pair<LumPalStr::String_t, LumPalStr::String_t>;

/// The hash of a text, or of a pair of texts, by its units. It is keyed anew in each process: whoever chooses the texts
/// cannot choose them so that many have the same. Equal texts have equal hashes, null and empty too. Any thread.
std::uint32_t HashOf(const LumPalStr::String_t& text);
std::uint32_t HashOf(const TextPair& pair);

/// The same for the unordered containers of the standard library.
struct TextHash {
    std::size_t operator()(const LumPalStr::String_t& text) const { return HashOf(text); }
};

}  // namespace LumConf
