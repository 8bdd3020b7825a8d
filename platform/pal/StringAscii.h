/// @file
/// The plain loops that carry ASCII text around the Unicode library. Compiled for speed.
#pragma once

#include <cstddef>

namespace LumPalStr::Ascii {

/// Number of leading units below 0x80, rounded down to a multiple of a block unless all are.
std::size_t Prefix(const char16_t* units, std::size_t length) noexcept;
std::size_t Prefix(const char* bytes, std::size_t length) noexcept;
/// True when one of the units is an upper-case ASCII letter.
bool HasUpper(const char16_t* units, std::size_t length) noexcept;
/// Copies with upper-case ASCII letters made small.
void Lower(char16_t* target, const char16_t* source, std::size_t length) noexcept;
/// Each byte becomes the unit of its value.
void Widen(char16_t* target, const char* source, std::size_t length) noexcept;
/// Each unit, known to be below 0x80, becomes a byte.
void Narrow(char* target, const char16_t* source, std::size_t length) noexcept;

}  // namespace LumPalStr::Ascii
