#include <algorithm>
#include <string_view>

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

bool EqualAt(std::u16string_view window, std::size_t at, std::u16string_view text) {
    return EqualFolded(window.substr(at, text.size()), text);
}

std::size_t FindFolded(std::u16string_view window, std::u16string_view text) {
    if (text.size() > window.size()) return std::u16string_view::npos;
    for (std::size_t at = 0; at + text.size() <= window.size(); ++at) {
        if (EqualAt(window, at, text)) return at;
    }
    return std::u16string_view::npos;
}

std::size_t ReverseFindFolded(std::u16string_view window, std::u16string_view text) {
    if (text.size() > window.size()) return std::u16string_view::npos;
    for (std::size_t at = window.size() - text.size() + 1; at-- > 0;) {
        if (EqualAt(window, at, text)) return at;
    }
    return std::u16string_view::npos;
}

std::size_t FindOneOfFolded(std::u16string_view window, std::u16string_view units) {
    for (std::size_t at = 0; at < window.size(); ++at) {
        for (std::size_t i = 0; i < units.size(); ++i) {
            if (EqualFolded(window.substr(at, 1), units.substr(i, 1))) return at;
        }
    }
    return std::u16string_view::npos;
}

}  // namespace

std::uint32_t String_t::Find(const String_t& text, std::uint32_t start, std::uint32_t length, bool ignoreCase) const {
    const auto window = Window(View(), start, length);
    if (!window.data()) return NotFound;
    return Position(ignoreCase ? FindFolded(window, text.View()) : window.find(text.View()), start);
}

std::uint32_t String_t::ReverseFind(const String_t& text, std::uint32_t start, std::uint32_t length,
                                    bool ignoreCase) const {
    const auto window = Window(View(), start, length);
    if (!window.data()) return NotFound;
    return Position(ignoreCase ? ReverseFindFolded(window, text.View()) : window.rfind(text.View()), start);
}

std::uint32_t String_t::FindOneOf(const String_t& units, std::uint32_t start, std::uint32_t length,
                                  bool ignoreCase) const {
    const auto window = Window(View(), start, length);
    if (!window.data()) return NotFound;
    return Position(ignoreCase ? FindOneOfFolded(window, units.View()) : window.find_first_of(units.View()), start);
}

}  // namespace LumPalStr
