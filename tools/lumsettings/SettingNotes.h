/// @file
/// What is worth knowing of settings that are set, besides that they are.
#pragma once

#include <string>
#include <vector>

#include "LumPalConfig.h"

namespace lumsettings {

/// Sentences on values that mean another thing than they seem to, and on keys without effect.
std::vector<std::string> NotesOn(const LumPalConfig::ConfigGroup_t& group);

/// When the latest of the keys counts, in the words of KnownKey::takenUp; empty when all count at once, and for keys
/// that are not known.
std::string CountsOf(const LumPalConfig::ConfigGroup_t& group);
/// The same as the end of a sentence, with the names of the keys: "; IO_THREADS counts after a restart"; empty
/// likewise.
std::string CountsText(const LumPalConfig::ConfigGroup_t& group);

}  // namespace lumsettings
