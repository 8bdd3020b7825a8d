/// @file
/// The settings of this node, read from its files: what is in force, and what the installed policies come to.
#pragma once

#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalStr.h"
#include "SettingsMerge.h"

namespace lumsettings {

/// Namespace and name.
using Setting = std::pair<LumPalStr::String_t, LumPalStr::String_t>;
using Value = std::optional<LumPalStr::String_t>;

/// The value of a setting; none when the group does not set it.
Value Find(const LumPalConfig::ConfigGroup_t& group, const Setting& setting);
/// Adds all settings of the group.
void Collect(const LumPalConfig::ConfigGroup_t& group, std::set<Setting>& settings);

/// As they are when it is made.
struct NodeSettings {
    /// @throws LumPalIo::IOException_t, LumPalCfgFile::SyntaxException_t
    NodeSettings();
    Value InForce(const Setting& setting) const;

    LumPalConfig::ConfigGroup_t local;
    /// What the daemon merged last.
    LumPalConfig::ConfigGroup_t policy;
};

}  // namespace lumsettings
