/// @file
/// Lets file operations fail by their number.
#pragma once

#include <atomic>
#include <cerrno>
#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "LumPalFault.h"

/// How the n-th operation fails.
enum class FaultMode {
    Once,        ///< it alone
    FromThenOn,  ///< it and all that follow: the disk went away
    DiskFull     ///< it and all that follow, but only those that need room
};

/// From its making to its end, operations of the thread that made it fail as the mode says. One at a time. What a
/// CapturedLog writes never fails and does not count.
class Faults {
public:
    /// @param nth       from 1; 0 lets none fail
    /// @param apart     files cannot be renamed out of the folders that policies come from, as if the store were
    /// another
    ///                  file system. Such renames do not count
    explicit Faults(int nth, FaultMode mode = FaultMode::Once, bool apart = false)
        : nth(nth), mode(mode), apart(apart) {
        current = this;
        thread = std::this_thread::get_id();
        LumPalIo::SetFaultHookForTest(Hook);
    }
    ~Faults() { Stop(); }
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    void Stop() {
        LumPalIo::SetFaultHookForTest(nullptr);
        thread = std::thread::id();
        current = nullptr;
    }

    bool Fired() const { return !failed.empty(); }
    /// The first operation that failed, as "rename /path".
    const std::string& Failed() const { return failed; }
    /// Whether anything below a folder was deleted or given another name before the first failure.
    bool HadChanged(const std::string& folder) const {
        for (std::size_t i = 0; i < asked.size() && i < before; ++i) {
            if (asked[i].starts_with("unlink " + folder) || asked[i].starts_with("rename " + folder)) return true;
        }
        return false;
    }

private:
    static bool Hook(const char* operation, const char* path) {
        if (std::string_view(path).ends_with("/captured.log")) return false;
        return std::this_thread::get_id() == thread && current->Fails(operation, path);
    }
    static bool NeedsRoom(std::string_view operation) {
        return operation == "open" || operation == "write" || operation == "mkdir" || operation == "fsync" ||
               operation == "syncfs";
    }
    bool Fails(std::string_view operation, const std::string& path) {
        if (operation == "rename" && apart && path.find("/conf_tmp/") != path.npos) return true;
        asked.push_back(std::string(operation) + " " + path);
        const int number = static_cast<int>(asked.size());
        if (nth == 0 || number < nth || (mode == FaultMode::Once && number > nth)) return false;
        if (mode == FaultMode::DiskFull) {
            if (!NeedsRoom(operation)) return false;
            errno = ENOSPC;
        }
        if (failed.empty()) {
            failed = asked.back();
            before = asked.size() - 1;
        }
        return true;
    }

    inline static std::atomic<std::thread::id> thread;  ///< whose operations fail; other threads ask too
    inline static Faults* current = nullptr;            ///< of that thread alone
    const int nth;
    const FaultMode mode;
    const bool apart;
    std::vector<std::string> asked;
    std::string failed;
    std::size_t before = static_cast<std::size_t>(-1);  ///< operations before the first that failed
};

/// A folder in memory: trials that make hundreds of nodes do not wait for the disk there.
inline const char* const kFastFolder = "/dev/shm";

/// Runs a trial for n = 1, 2, ... until it meets fewer than n operations. The trial gets n and returns whether it did.
inline void ForEachFault(const std::function<bool(int nth)>& trial) {
    for (int nth = 1; trial(nth) && nth < 10000; ++nth) {
    }
}

/// While it lives, files whose path ends in a text are gone at the moment when they are opened for reading: whoever
/// looked whether they are there found them. One at a time, and not beside Faults.
class GoneWhenOpened {
public:
    explicit GoneWhenOpened(const std::string& ending) {
        end = ending;
        LumPalIo::SetFaultHookForTest(Hook);
    }
    ~GoneWhenOpened() { LumPalIo::SetFaultHookForTest(nullptr); }
    GoneWhenOpened(const GoneWhenOpened&) = delete;
    GoneWhenOpened& operator=(const GoneWhenOpened&) = delete;

private:
    static bool Hook(const char* operation, const char* path) {
        if (std::string_view(operation) == "read" && std::string_view(path).ends_with(end)) {
            std::filesystem::remove(path);
        }
        return false;
    }

    inline static std::string end;
};

/// While it lives, one kind of operation on files whose path ends in a text fails. One at a time, and not beside
/// Faults.
class FailingFile {
public:
    FailingFile(const std::string& failing, const std::string& ending) {
        // Kept to the end: another thread may still be asking on behalf of the one before.
        all.push_back({failing, ending});
        current = &all.back();
        LumPalIo::SetFaultHookForTest(Hook);
    }
    ~FailingFile() { LumPalIo::SetFaultHookForTest(nullptr); }
    FailingFile(const FailingFile&) = delete;
    FailingFile& operator=(const FailingFile&) = delete;

private:
    static bool Hook(const char* asked, const char* path) {
        const Target& target = *current;
        return asked == target.operation && std::string_view(path).ends_with(target.end);
    }

    struct Target {
        std::string operation, end;
    };
    inline static std::deque<Target> all;
    inline static std::atomic<const Target*> current{nullptr};
};
