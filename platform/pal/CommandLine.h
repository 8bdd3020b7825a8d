/// @file
/// How a command line is split into words.
#pragma once

#include <string>
#include <vector>

#include "LumPalStr.h"

namespace LumPalCmd {

/// The words of the line, in UTF-8: parted by blanks and tabs, double quotes taken off.
/// @throws LumPalMsg::IllegalArgumentError_t no word, an empty first word, an open quote, NUL
std::vector<std::string> SplitWords(const LumPalStr::String_t& line);

}  // namespace LumPalCmd
