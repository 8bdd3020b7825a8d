/// @file
/// Settings policies in the store of a node, in tests.
#pragma once

#include <filesystem>
#include <string>

#include "Files.h"
#include "LumPalIo.h"
#include "SettingsFiles.h"
#include "TestPolicy.h"

/// An enabled policy with one data file, "<id>.ini".
inline TestPolicy SettingsPolicy(const std::string& id, const std::string& name, const std::string& content) {
    TestPolicy policy;
    policy.id = id;
    policy.name = name;
    policy.type = "configsettings";
    policy.data = {{id + ".ini", content}};
    return policy;
}

/// A node's root with settings policies in its store, and its settings files. The store is written without the node's
/// operations, and tells nobody.
class SettingsStore {
public:
    /// @param base  an existing folder below which the root is made
    explicit SettingsStore(const std::string& base = "/tmp") : files(base) {}

    /// Puts a policy into the store, over the one with its id.
    LumPalIo::File_t Put(const TestPolicy& policy) const { return policy.WriteFiles(Folder(policy.type)); }
    void Put(const std::string& id, const std::string& name, const std::string& content) const {
        Put(SettingsPolicy(id, name, content));
    }
    /// Deletes whatever the store holds.
    void Clear() const { std::filesystem::remove_all(files.Root() + "/policies"); }
    std::string Folder(const std::string& type = "configsettings") const { return files.Root() + "/policies/" + type; }

    const SettingsFiles& Files() const { return files; }
    /// The settings that policies brought, as they stand on disk.
    std::string Settings() const { return ReadText(files.Policy()); }

private:
    const SettingsFiles files;
};
