/// @file
/// Watches file operations and tells what a power cut could take back.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "LumPalFault.h"

/// From its making to its end it follows what is done to files below one folder, on every thread, by the strictest
/// reading: bytes are on the disk when their file was flushed after them, a name when its folder was flushed after it.
/// One at a time.
class FlushFollower {
public:
    /// @param root     what is below it counts
    /// @param passing  folders below it, relative, that are wiped at a start: names and bytes there may be lost, unless
    ///                 a file leaves for another folder
    FlushFollower(const std::string& root, const std::vector<std::string>& passing) : root(root), passing(passing) {
        current = this;
        LumPalIo::SetFileObserverForTest(Observe);
    }
    ~FlushFollower() {
        LumPalIo::SetFileObserverForTest(nullptr);
        current = nullptr;
    }
    FlushFollower(const FlushFollower&) = delete;
    FlushFollower& operator=(const FlushFollower&) = delete;

    /// What was done wrong so far, and what a power cut now would take back.
    std::vector<std::string> Faults() const {
        const std::lock_guard lock(mutex);
        std::vector<std::string> all = faults;
        for (const std::string& open : Unflushed()) all.push_back(open);
        return all;
    }
    int Flushes() const {
        const std::lock_guard lock(mutex);
        return flushes;
    }

private:
    std::vector<std::string> Unflushed() const {
        std::vector<std::string> all;
        for (const auto& [folder, entries] : names) {
            if (!Passes(folder)) all.push_back("names not flushed in " + folder + ", one of them " + *entries.begin());
        }
        for (const std::string& file : bytes) {
            if (!Passes(FolderOf(file))) all.push_back("bytes not flushed of " + file);
        }
        return all;
    }
    static std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }
    static std::string Clean(const char* path) {
        std::string clean = std::filesystem::path(path).lexically_normal().string();
        if (clean.size() > 1 && clean.back() == '/') clean.pop_back();
        return clean;
    }
    static void Observe(const char* operation, const char* path, const char* target) {
        if (current) current->Follow(operation, Clean(path), target ? Clean(target) : "");
    }
    bool Counts(const std::string& path) const {
        return path.starts_with(root + "/") && !path.ends_with(".lock") && !path.starts_with(root + "/log");
    }
    bool Passes(const std::string& folder) const {
        for (const std::string& part : passing) {
            if (folder == root + "/" + part || folder.starts_with(root + "/" + part + "/")) return true;
        }
        return false;
    }

    void Follow(const std::string& operation, const std::string& path, const std::string& target) {
        const std::lock_guard lock(mutex);
        if (operation == "syncfs") return FlushAll();
        if (operation == "fsync") return Flush(path);
        if (!Counts(path)) return;
        if (operation == "open" || operation == "mkdir") AddName(path);
        if (operation == "open" || operation == "write" || operation == "chmod") bytes.insert(path);
        if (operation == "unlink" || operation == "rmdir") Remove(path);
        if (operation == "rename") Rename(path, target);
        // The mode of a folder is no promise.
        if (operation == "chmod" && std::filesystem::is_directory(path)) bytes.erase(path);
    }
    void AddName(const std::string& path) { names[FolderOf(path)].insert(path); }
    bool IsNameFlushed(const std::string& path) const {
        const auto folder = names.find(FolderOf(path));
        return folder == names.end() || folder->second.count(path) == 0;
    }
    void FlushAll() {
        ++flushes;
        names.clear();
        bytes.clear();
    }
    void Flush(const std::string& path) {
        ++flushes;
        names.erase(path);
        bytes.erase(path);
    }
    void Remove(const std::string& path) {
        if (path == record && promised) {
            promised = false;
            for (const std::string& open : Unflushed()) faults.push_back("the record goes before: " + open);
        }
        bytes.erase(path);
        names.erase(path);  // a folder that is gone needs no flush
        AddName(path);
    }
    void Rename(const std::string& from, const std::string& to) {
        if (to == record) promised = true;
        if (!Passes(FolderOf(to))) {
            if (bytes.count(from)) faults.push_back("renamed before its bytes were flushed: " + from + " to " + to);
            if (promised && to != record && !IsNameFlushed(from)) {
                faults.push_back("recorded before its name was flushed: " + from + " to " + to);
            }
            if (promised && to != record && !IsNameFlushed(record)) faults.push_back("before the record: " + to);
        }
        if (bytes.erase(from)) bytes.insert(to);
        AddName(from);
        AddName(to);
    }

    inline static FlushFollower* current = nullptr;
    const std::string root;
    const std::vector<std::string> passing;
    const std::string record = root + "/spool/store.change";
    mutable std::mutex mutex;
    /// Names that are not on the disk as they are now, by their folder.
    std::map<std::string, std::set<std::string>> names;
    std::set<std::string> bytes;  ///< files with bytes or a mode that are not on the disk
    bool promised = false;        ///< a record says that the change that is being made is made
    std::vector<std::string> faults;
    int flushes = 0;
};
