/// @file
/// Cutting the lines that tools print.
#pragma once

#include <cstdint>
#include <vector>

#include "LumPalStr.h"

namespace LumConfCluster {

/// What stands before the first blank or tab; the whole line when there is none.
LumPalStr::String_t FirstColumn(const LumPalStr::String_t& line);
/// What stands behind the first colon, trimmed; the whole line, untrimmed, when there is none.
LumPalStr::String_t BehindColon(const LumPalStr::String_t& line);
/// The names of a list of names and values with blanks or tabs between them: its first piece, its third, and so on.
/// The last piece is a value, or is not seen.
std::vector<LumPalStr::String_t> NamesOfPairs(const LumPalStr::String_t& line);

/// The decimal number at the beginning of a line, behind blanks; the other one when there is none, or one above 65535.
std::uint16_t NumberIn(const LumPalStr::String_t& line, std::uint16_t other);

}  // namespace LumConfCluster
