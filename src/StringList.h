/// @file
/// Lists of words in one text.
#pragma once

#include <string_view>
#include <vector>

#include "LumPalStr.h"

namespace LumConf {

/// The words of a text between runs of blanks. The ends of the text and of each rest are trimmed of all white space;
/// only a blank separates two words. An empty or blank text gives no word.
std::vector<LumPalStr::String_t> GetVectorFromString(const LumPalStr::String_t& text);

/// The same words one after another, for a text that may hold millions: nothing is kept of them. The text must outlive
/// the reader.
class WordReader {
public:
    explicit WordReader(std::u16string_view text);
    /// Goes to the next word. @return false behind the last one
    bool Next();
    /// The present word, never empty.
    std::u16string_view Get() const noexcept { return word; }

private:
    std::u16string_view rest, word;
};

/// The same as parts of the text, which must outlive them: no copy of each.
std::vector<std::u16string_view> GetViewsFromString(const LumPalStr::String_t& text);

/// The words joined by single blanks.
LumPalStr::String_t JoinWithBlanks(const std::vector<LumPalStr::String_t>& words);

}  // namespace LumConf
