/// @file
/// Patterns as other programs' configurations hold them.
#pragma once

#include <optional>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalPattern {

/// Whether an extended regular expression of POSIX (IEEE Std 1003.1) is found in a text; its case counts.
/// @return  nothing for a pattern that is none, or that could take long or much memory: one with a repetition in
///          braces, with a reference back, or of more than 1024 bytes; on Windows always
/// Any thread.
LUMPAL_API std::optional<bool> IsFound(const LumPalStr::String_t& pattern, const LumPalStr::String_t& text);

}  // namespace LumPalPattern
