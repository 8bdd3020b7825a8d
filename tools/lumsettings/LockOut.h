/// @file
/// Changes of settings after which a node's own tools could not reach it.
#pragma once

#include <string>

#include "LumPalConfig.h"

namespace lumsettings {

/// Whether a group names a key on which it depends whether a node's tools reach it.
bool ConcernsTools(const LumPalConfig::ConfigGroup_t& changed);

/// Why they would not; empty when they would.
/// @param changed  the keys that change
/// @param then     all settings of the node behind the change
/// @param isHere   it is this node, so that its key store can be looked at
std::string WhyLockedOut(const LumPalConfig::ConfigGroup_t& changed, const LumPalConfig::ConfigGroup_t& then,
                         bool isHere);

}  // namespace lumsettings
