/// @file
/// How a text with holes becomes a text.
#pragma once

#include <vector>

#include "LumPalStr.h"

namespace LumPalMsg {

/// Fills %1 to %99 with the arguments in one pass. A hole without an argument stays as it is,
/// and so does a percent sign that begins no hole.
LumPalStr::String_t FillHoles(const LumPalStr::String_t& text, const std::vector<LumPalStr::String_t>& arguments);

/// Puts two blanks for each level before every line of the text.
LumPalStr::String_t Indent(const LumPalStr::String_t& text, int level);

}  // namespace LumPalMsg
