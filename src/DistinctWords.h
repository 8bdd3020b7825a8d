/// @file
/// The different words of a text that may repeat them millions of times.
#pragma once

#include <cstddef>
#include <vector>

#include "LumPalStr.h"

namespace LumConf {

/// So many different words one call may bring: each costs some ten times its shortest form.
inline constexpr std::size_t kMostWords = 100000;

/// The different words of the text (see StringList.h) in the order in which each comes first. Nothing is kept of those
/// that come again. @throws LumPalMsg::IllegalArgumentError_t when there are more than kMostWords
std::vector<LumPalStr::String_t> DistinctWords(const LumPalStr::String_t& text);

/// Those of them that are among the known texts: it takes no more memory than these, whatever the text holds.
/// @throws LumPalMsg::IllegalArgumentError_t when there are more than kMostWords
std::vector<LumPalStr::String_t> WordsAmong(const LumPalStr::String_t& text, std::vector<LumPalStr::String_t> known);

}  // namespace LumConf
