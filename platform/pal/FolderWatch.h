/// @file
/// Waiting for changes of the files in folders.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "LumPalStr.h"

namespace LumPalConfig {

/// What a wait saw.
struct FolderChanges {
    /// Some were missed: each folder may have changed.
    bool missed = false;
    /// Folders in which one of the watched names was written, replaced or removed.
    std::set<int> changed;
    /// Folders that went away; they are no longer watched.
    std::set<int> lost;
};

/// Watches folders for changes of some file names. Any thread may call all but Wait.
class FolderWatch {
public:
    /// @throws LumPalIo::IOException_t
    explicit FolderWatch(std::set<std::string> names);
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;
    ~FolderWatch();

    static constexpr int NoFolder = -1;
    /// The folder's number; one folder has one number. NoFolder when it cannot be watched.
    int Add(const LumPalStr::String_t& folder);
    void Remove(int number);
    /// Ends a wait, or the next one.
    void Wake();
    /// Waits for a change.
    /// @param milliseconds  longest time; -1 waits for ever
    FolderChanges Wait(int milliseconds);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumPalConfig
