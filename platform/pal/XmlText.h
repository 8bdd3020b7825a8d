/// @file
/// What XML 1.0 says of characters and names, and the way from the parser's UTF-8 to UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace LumPalXml {

/// Position of the first unit that XML 1.0 cannot carry (controls, lone surrogates, U+FFFE,
/// U+FFFF), at or behind `from`; the text's size when there is none.
std::size_t FindIllegalChar(std::u16string_view text, std::size_t from = 0) noexcept;

/// Whether the text is an NCName of Namespaces in XML 1.0: a Name without a colon.
bool IsNcName(std::u16string_view text) noexcept;

/// Whether a unit is the first half of a pair.
inline bool IsLead(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}

/// Writes well-formed UTF-8 as UTF-16.
/// @param target  room for `length` units
/// @return        the count of units written
std::size_t Widen(const char* utf8, std::size_t length, char16_t* target) noexcept;

/// Appends one code point as UTF-8.
void AppendUtf8(std::string& target, char32_t code);

/// The code point at a position of a text without illegal characters; moves the position behind it.
char32_t NextCode(std::u16string_view text, std::size_t& position) noexcept;

}  // namespace LumPalXml
