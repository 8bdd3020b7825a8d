/// @file
/// Settings as people, programs and files of settings write them.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace lumsettings {

/// @throws LumPalMsg::IllegalArgumentError_t for a name that no setting can have
void CheckNames(const LumPalConfig::ConfigGroup_t& group);
/// The group as a file of settings holds it. @throws LumPalMsg::RuntimeException_t for such a name
std::string FileText(const LumPalConfig::ConfigGroup_t& group);
/// "[namespace] name=value" with the escapes of such a file. @throws as above
std::string LineOf(const LumPalStr::String_t& nameSpace, const LumPalStr::String_t& name,
                   const LumPalStr::String_t& value);
/// A value with these escapes.
std::string Escaped(const LumPalStr::String_t& value);
/// {namespace: {name: value}}
nlohmann::ordered_json ToJson(const LumPalConfig::ConfigGroup_t& group);
int CountSettings(const LumPalConfig::ConfigGroup_t& group);

/// What becomes of one setting.
struct Change {
    LumPalStr::String_t nameSpace, name;
    std::optional<LumPalStr::String_t> before, after;  ///< none: it is not set
};
/// "- [namespace] name=before" and "+ [namespace] name=after". @throws as FileText
std::string LinesOf(const Change& change);
/// With the members "old" and "new", as far as there is one.
nlohmann::ordered_json ToJson(const Change& change);

}  // namespace lumsettings
