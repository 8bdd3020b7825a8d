/// @file
/// The files of a node's settings, as far as they can be read.
#pragma once

#include <string>
#include <vector>

#include "LumPalConfig.h"

namespace lumconfd {

/// What one broken line must not hide.
struct SettingsRead {
    LumPalConfig::ConfigGroup_t group;  ///< local settings over those of policies, without lines that are none
    std::vector<std::string> problems;  ///< such lines, of each file the first ones
};

/// Reads both files. @throws LumPalIo::IOException_t
SettingsRead ReadSettingsFiles();

}  // namespace lumconfd
