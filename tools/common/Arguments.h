/// @file
/// From command line texts to the library's.
#pragma once

#include <string>
#include <utility>

#include "LumPalStr.h"

namespace lumtools {

inline LumPalStr::String_t Text(const std::string& utf8) {
    return LumPalStr::String_t::FromUtf8(utf8);
}

/// The parts before and behind the first "="; an empty second part without one.
inline std::pair<std::string, std::string> SplitPair(const std::string& text) {
    const std::size_t at = text.find('=');
    if (at == std::string::npos) return {text, ""};
    return {text.substr(0, at), text.substr(at + 1)};
}

}  // namespace lumtools
