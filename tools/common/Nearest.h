/// @file
/// The word that was meant.
#pragma once

#include <string>
#include <vector>

namespace lumtools {

/// The word that differs least from what was typed; empty when none is near.
std::string NearestOf(const std::string& typed, const std::vector<std::string>& words);

/// "; did you mean 'X'?" for the nearest one, else empty.
std::string Suggestion(const std::string& typed, const std::vector<std::string>& words);

}  // namespace lumtools
