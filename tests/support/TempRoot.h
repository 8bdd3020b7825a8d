/// @file
/// A node's root of its own for each test.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "LumPalRuntime.h"
#include "LumPalStr.h"

/// Makes a fresh, empty folder below /tmp, makes it this process's root directory, and removes the whole
/// tree at the end. LumPalRuntime::Dir_t::SetRoot may be called again in tests, so that each test has a
/// root of its own; the previous root is not put back.
class TempRoot {
public:
    TempRoot() : TempRoot("/tmp") {}
    /// @param base  an existing folder that takes the place of /tmp
    explicit TempRoot(const std::string& base) {
        folder = base + "/lumtest-XXXXXX";
        if (!mkdtemp(folder.data())) throw std::runtime_error("cannot make a folder below " + base);
        LumPalRuntime::Dir_t::SetRoot(Path());
    }
    TempRoot(const TempRoot&) = delete;
    TempRoot& operator=(const TempRoot&) = delete;
    ~TempRoot() { Remove(); }

    /// The folder, without a separator at its end.
    LumPalStr::String_t Path() const { return LumPalStr::String_t::FromUtf8(folder); }
    /// The path of a name below the folder; nothing is made.
    LumPalStr::String_t Path(const LumPalStr::String_t& name) const { return Path() + "/" + name; }
    const std::string& Native() const noexcept { return folder; }

private:
    /// Folders that a test locked are opened again first, else what is in them would stay.
    void Remove() noexcept {
        std::error_code ignored;
        for (std::filesystem::recursive_directory_iterator entry(folder, ignored), end; entry != end && !ignored;
             entry.increment(ignored)) {
            if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
                std::filesystem::permissions(entry->path(), std::filesystem::perms::owner_all, ignored);
            }
        }
        std::filesystem::remove_all(folder, ignored);
    }

    std::string folder;
};
