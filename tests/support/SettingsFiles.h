/// @file
/// The settings files of a node's root, in tests.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "Files.h"
#include "Groups.h"
#include "TempRoot.h"

/// A root of its own and the files of one database below it.
class SettingsFiles {
public:
    /// @param package  native; empty for the node's own database
    explicit SettingsFiles(const std::string& base = "/tmp", const std::string& package = "")
        : root(base), folder(root.Native() + "/etc/pal/config/" + (package.empty() ? "" : package + "/")) {}

    const std::string& Root() const { return root.Native(); }
    const std::string& Folder() const { return folder; }
    std::string Local() const { return folder + "local_settings.ini"; }
    std::string Policy() const { return folder + "policy_settings.ini"; }
    std::string NewPolicy() const { return folder + "new_policy_settings.ini"; }
    bool HasNewPolicy() const { return std::filesystem::exists(NewPolicy()); }
    /// Whether an update process has run in the folder: each one holds its lock file, which stays.
    bool WasApplied() const { return std::filesystem::exists(folder + ".lock"); }

    /// What stays the same as long as nobody replaces the file.
    static std::string IdentityOf(const std::string& path) {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0) return "absent";
        return std::to_string(status.st_ino) + " " + std::to_string(status.st_ctim.tv_sec) + "." +
               std::to_string(status.st_ctim.tv_nsec);
    }

private:
    const TempRoot root;
    const std::string folder;
};
