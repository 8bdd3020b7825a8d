/// @file
/// What counts as white space.
#pragma once

namespace LumPalStr {

/// Whether String_t::Trim takes the unit off.
bool IsSpace(char16_t unit) noexcept;

}  // namespace LumPalStr
