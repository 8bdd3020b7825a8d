/// @file
/// How the words for states stand out.
#pragma once

#include <string>

#include "common/Table.h"

namespace lumcluster {

/// Of a state, with or without a detail: what runs is good, what does not doubtful, what cannot be known bad.
lumtools::Mark MarkOfState(const std::string& state);
/// Of a state on this node, where not to run is as good, and not known of what runs nowhere.
lumtools::Mark MarkOfStateHere(const std::string& state);

}  // namespace lumcluster
