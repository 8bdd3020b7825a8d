/// @file
/// The encoding of the process's locale.
#pragma once

#include <string>

namespace LumPalStr {

/// Its name; "UTF-8" in the "C" locale, which names none beyond ASCII.
std::string LocaleCodeset();

}  // namespace LumPalStr
