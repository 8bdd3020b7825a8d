// String_t of LumPalStr.h: finding.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "LumPalStr.h"
#include "StringFold.h"

namespace LumPalStr {
namespace {

/// The part of the text to be searched; its data is null when start lies behind the end.
std::u16string_view Window(std::u16string_view text, std::uint32_t start, std::uint32_t length) {
    if (start > text.size()) return {};
    return {text.data() + start, std::min<std::size_t>(length, text.size() - start)};
}

std::uint32_t Position(std::size_t found, std::uint32_t start) {
    return found == std::u16string_view::npos ? NotFound : start + static_cast<std::uint32_t>(found);
}

std::u16string Folded(std::u16string_view text) {
    std::u16string folded(text.size(), u'\0');
    FoldCursor cursor(text);
    for (char16_t& unit : folded) unit = cursor.Next();
    return folded;
}

/// For each beginning of the text, the length of the longest shorter beginning that it also ends in.
template <class Iterator>
std::vector<std::uint32_t> Overlaps(Iterator text, std::size_t length) {
    std::vector<std::uint32_t> overlaps(length, 0);
    for (std::uint32_t i = 1, matched = 0; i < length; ++i) {
        while (matched > 0 && text[i] != text[matched]) matched = overlaps[matched - 1];
        if (text[i] == text[matched]) ++matched;
        overlaps[i] = matched;
    }
    return overlaps;
}

/// Never looks at a unit of the window a second time, whatever the texts (Knuth, Morris, Pratt).
template <class Iterator>
std::size_t FindLong(Iterator window, std::size_t windowLength, Iterator text, std::size_t length) {
    const std::vector<std::uint32_t> overlaps = Overlaps(text, length);
    for (std::size_t i = 0, matched = 0; i < windowLength; ++i) {
        while (matched > 0 && window[i] != text[matched]) matched = overlaps[matched - 1];
        if (window[i] == text[matched]) ++matched;
        if (matched == length) return i + 1 - length;
    }
    return std::u16string_view::npos;
}

// Up to this length the simple search is fast, and its worst case is no worse than so many looks at each unit.
constexpr std::size_t LongestSimple = 32;

std::size_t First(std::u16string_view window, std::u16string_view text) {
    if (text.size() <= LongestSimple || text.size() > window.size()) return window.find(text);
    return FindLong(window.begin(), window.size(), text.begin(), text.size());
}

std::size_t Last(std::u16string_view window, std::u16string_view text) {
    if (text.size() <= LongestSimple || text.size() > window.size()) return window.rfind(text);
    const std::size_t fromEnd = FindLong(window.rbegin(), window.size(), text.rbegin(), text.size());
    return fromEnd == std::u16string_view::npos ? fromEnd : window.size() - fromEnd - text.size();
}

std::size_t FirstOf(std::u16string_view window, std::u16string_view units) {
    return window.find_first_of(units);
}

using Search = std::size_t (*)(std::u16string_view, std::u16string_view);

std::uint32_t Run(Search search, std::u16string_view whole, std::u16string_view text, std::uint32_t start,
                  std::uint32_t length, bool ignoreCase) {
    const std::u16string_view window = Window(whole, start, length);
    if (!window.data()) return NotFound;
    return Position(ignoreCase ? search(Folded(window), Folded(text)) : search(window, text), start);
}

}  // namespace

std::uint32_t String_t::Find(const String_t& text, std::uint32_t start, std::uint32_t length, bool ignoreCase) const {
    return Run(First, View(), text.View(), start, length, ignoreCase);
}

std::uint32_t String_t::ReverseFind(const String_t& text, std::uint32_t start, std::uint32_t length,
                                    bool ignoreCase) const {
    return Run(Last, View(), text.View(), start, length, ignoreCase);
}

std::uint32_t String_t::FindOneOf(const String_t& units, std::uint32_t start, std::uint32_t length,
                                  bool ignoreCase) const {
    return Run(FirstOf, View(), units.View(), start, length, ignoreCase);
}

}  // namespace LumPalStr
