/// @file
/// The words of "authorization.ini".
#pragma once

#include <optional>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumSecAuth {

/// The bits of a right that is given by name, in any case, or by number; none for a word that is no right.
LUMPAL_API std::optional<unsigned> RightBits(const LumPalStr::String_t& word);
/// The names of the bits, with blanks between them: "install list", "all"; empty for none.
LUMPAL_API LumPalStr::String_t RightNames(unsigned bits);

}  // namespace LumSecAuth
