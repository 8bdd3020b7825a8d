/// @file
/// A configuration database of a test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "LumPalConfig.h"
#include "TempRoot.h"

class ConfigStore : public testing::Test {
protected:
    std::string Folder() const { return root.Native() + "/etc/pal/config/"; }
    std::string Local() const { return Folder() + "local_settings.ini"; }
    std::string Policy() const { return Folder() + "policy_settings.ini"; }
    std::string NewPolicy() const { return Folder() + "new_policy_settings.ini"; }

    static void Put(const std::string& path, const std::string& text) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }
    static std::string Text(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }
    static LumPalStr::String_t Value(const char* nameSpace, const char* name) {
        return LumPalConfig::ConfigNamespace_t(nameSpace).Open().GetValue(name);
    }
    static void Set(const LumPalStr::String_t& package, const char* nameSpace, const char* name,
                    const LumPalStr::String_t& value) {
        LumPalConfig::Configuration_t config(nameSpace);
        config.SetAttrValue(name, value);
        LumPalConfig::ConfigUpdate_t update(package);
        update.SetConfig(config);
        update.Apply();
    }

    TempRoot root;
};
