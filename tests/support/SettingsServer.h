/// @file
/// Tests of a server of settings.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>

#include "Configure.h"
#include "Groups.h"
#include "ServerTest.h"

/// The numbers of the operations on settings.
inline constexpr int kGet = 17, kSet = 18, kClearNamespace = 19, kClearAttribute = 20;
inline constexpr const char* kFailed = "Settings configuration operation was not successful.";

/// A server whose node holds no namespaces "test.", and no packages, at the start of a test.
class SettingsServer : public ServerTest {
protected:
    SettingsServer() { Forget(); }
    ~SettingsServer() override { Forget(); }

    std::string Folder(const std::string& package = "") const {
        return node.Root() + "/etc/pal/config/" + (package.empty() ? "" : package + "/");
    }
    /// What a database holds for these tests, read without the server.
    static std::string Stored(const char* package = "") {
        return Shown(LumPalConfig::ConfigBase_t::Open(package), "test.");
    }
    static void Store(std::initializer_list<Setting> settings) {
        for (const Setting& setting : settings) Configure(setting.nameSpace, setting.name, setting.value);
    }
    int AuditedLines() const { return node.Audited("Audit:"); }

private:
    void Forget() const {
        LumPalConfig::ConfigUpdate_t update("");
        const LumPalConfig::ConfigGroup_t all = LumPalConfig::ConfigBase_t::Open("");
        for (int i = 0; i < all.GetConfigCount(); ++i) {
            const LumPalStr::String_t name = all.GetConfig(i).GetNamespace();
            if (name.ToUtf8().starts_with("test.")) update.ClearNamespace(name);
        }
        update.ClearNamespace("test.none");
        update.Apply();
        std::filesystem::remove(Folder() + "policy_settings.ini");
        for (const char* package : {"rg1", "rg2", "broken"}) std::filesystem::remove_all(Folder(package));
    }
};
