/// @file
/// Cutting one piece out of a line that a tool printed, by what stands before or behind it. For all fields of a line:
/// ToolFields.h. For texts whose form is ours: LumPalColumns.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LumPalStr.h"

namespace LumConfCluster {

/// What a tool printed, without the ends of the lines.
using ToolLines = std::vector<LumPalStr::String_t>;

/// What stands before the first blank or tab; the whole line when there is none.
LumPalStr::String_t FirstColumn(const LumPalStr::String_t& line);
/// The field of a number, the first is 0, where a separator stands between fields, which may be empty and are not
/// trimmed; empty when there is none.
LumPalStr::String_t Field(const LumPalStr::String_t& line, const char* separator, std::size_t number);
/// What stands behind the first `word` and before the next `end`, or the line's end, trimmed; empty without the word.
/// @param end  empty: the line's end
LumPalStr::String_t Between(const LumPalStr::String_t& line, const char* word, const char* end = "");
/// The first line that holds the word; an empty one when none does.
LumPalStr::String_t LineWith(const ToolLines& lines, const char* word);
/// Whether a line holds the word.
bool Holds(const LumPalStr::String_t& line, const char* word);
/// What stands behind the first colon, trimmed; the whole line, untrimmed, when there is none.
LumPalStr::String_t BehindColon(const LumPalStr::String_t& line);
/// The names of a list of names and values with blanks or tabs between them: its first piece, its third, and so on.
/// The last piece is a value, or is not seen.
std::vector<LumPalStr::String_t> NamesOfPairs(const LumPalStr::String_t& line);

/// The decimal number at the beginning of a line, behind blanks; the other one when there is none, or one above 65535.
std::uint16_t NumberIn(const LumPalStr::String_t& line, std::uint16_t other);

}  // namespace LumConfCluster
