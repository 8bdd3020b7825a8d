/// @file
/// Groups of configurations as text, for tests.
#pragma once

#include <initializer_list>
#include <string>

#include "LumPalConfig.h"

/// One attribute; without a name it is the bare namespace.
struct Setting {
    const char* nameSpace;
    const char* name = nullptr;
    const char* value = "";
};

inline LumPalConfig::ConfigGroup_t GroupOf(std::initializer_list<Setting> settings) {
    const auto text = [](const char* utf8) { return LumPalStr::String_t::FromUtf8(utf8); };
    const LumPalConfig::ConfigGroup_t group;
    for (const Setting& setting : settings) {
        LumPalConfig::Configuration_t configuration = group.GetConfig(text(setting.nameSpace));
        if (setting.name) configuration.SetAttrValue(text(setting.name), text(setting.value));
    }
    return group;
}

/// "[namespace]name=value;" for everything whose namespace begins so, in order.
inline std::string Shown(const LumPalConfig::ConfigGroup_t& group, const char* beginning = "") {
    std::string all;
    LumPalStr::String_t name, value;
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const LumPalConfig::Configuration_t configuration = group.GetConfig(i);
        const std::string nameSpace = configuration.GetNamespace().ToUtf8();
        if (!nameSpace.starts_with(beginning)) continue;
        all += "[" + nameSpace + "]";
        for (int j = 0; configuration.GetAttr(j, name, value); ++j) all += name.ToUtf8() + "=" + value.ToUtf8() + ";";
    }
    return all;
}
