/// @file
/// How names and values stand in a line of the configuration's text form.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "LumPalStr.h"

namespace LumPalCfgFile {

/// Bytes of a text that is read or written: a file without end must not take all memory.
inline constexpr std::uint64_t kLargestFile = 64u << 20;
/// @param source  what is larger, as for ConfigReader_t::Load. @throws LumPalIo::IOException_t naming it
[[noreturn]] void RefuseTooLarge(const LumPalStr::String_t& source);

/// Whether a namespace or an attribute can be called so: not empty, and nothing in it that could
/// break or forge a line (controls, line and paragraph separators).
bool IsName(std::u16string_view text) noexcept;
/// @throws LumPalMsg::IllegalArgumentError_t for any other text; the message shows it as Shown does
void CheckName(const LumPalStr::String_t& name);

/// A name for a message: of a long one, which may come from outside, the beginning and "...".
LumPalStr::String_t Shown(const LumPalStr::String_t& name);

/// The text without blanks and tabs at its ends.
std::u16string_view TrimBlanks(std::u16string_view text) noexcept;

/// Appends the text as it stands in a line; Unescape gives it back unit for unit, also when the line went
/// through UTF-8 and TrimBlanks.
void AppendValue(std::u16string& line, std::u16string_view value);
/// The same for the part of a long value that begins at a position and has at least so many units, or the rest.
/// @return where the next part begins; the length of the value behind the last one
std::size_t AppendPart(std::u16string& line, std::u16string_view value, std::size_t from, std::size_t units);
/// The same for a name, which also hides what would make the line mean something else.
void AppendName(std::u16string& line, std::u16string_view name);

/// False for an escape that does not exist.
bool Unescape(std::u16string_view text, std::u16string& result);

/// Position of the first "=" that is not escaped, or npos.
std::size_t FindEquals(std::u16string_view line) noexcept;

}  // namespace LumPalCfgFile
