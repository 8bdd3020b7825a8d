/// @file
/// The rule for texts that a selection writes as "name=value".
#pragma once

#include "LumPalStr.h"

namespace LumConf {

/// Refuses a name or a value that is null, empty or blank, or that holds "=".
/// @throws LumPalMsg::IllegalArgumentError_t 70 (nothing in it), 71 (an equals sign in it)
void CheckAttribute(const LumPalStr::String_t& text);

}  // namespace LumConf
