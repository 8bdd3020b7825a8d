/// @file
/// What the configuration store asks of the file system.
#pragma once

#include <cstdint>
#include <memory>

#include "LumPalArray.h"
#include "LumPalStr.h"

namespace LumPalConfig {

/// Tells one state of a file from every other one, as long as a file that was read is kept open.
struct FileIdentity {
    bool exists = false;
    std::uint64_t device = 0, inode = 0, size = 0;
    std::int64_t modifiedNs = 0;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// A file as it was when it was read. An absent one has no bytes.
struct FileSnapshot {
    FileIdentity identity;
    LumPalArray::CharArray_t bytes;
    /// Keeps the file open, so that the system gives its number to no other file meanwhile.
    std::shared_ptr<void> pin;
    /// Whether that leaves enough descriptors for everybody else: one that does not is not to be kept.
    bool mayStayOpen = true;
};

/// The identity now. @throws LumPalIo::IOException_t, but not for a file that is not there
FileIdentity IdentityOf(const LumPalStr::String_t& path);
/// The whole file. @throws LumPalIo::IOException_t, also for a link or a pipe, but not for a file that is not there
FileSnapshot ReadSnapshot(const LumPalStr::String_t& path);

/// Puts a file with these bytes in the place of `path`: written aside, flushed, renamed, the folder
/// flushed. After a failure the old file stands. The caller holds the folder's lock. Aside means `name`.tmp.
/// @throws LumPalIo::IOException_t
void ReplaceFile(const LumPalStr::String_t& folder, const LumPalStr::String_t& name,
                 const LumPalArray::CharArray_t& bytes);
/// Forces a file, if it is there, and its folder to the disk: what an earlier change put there is not, when that one's
/// last step failed. @throws LumPalIo::IOException_t
void FlushFile(const LumPalStr::String_t& folder, const LumPalStr::String_t& name);
/// Whether ReplaceFile has left `name` aside in a process that was killed, or is at work in another one.
bool IsLeftAside(const LumPalStr::String_t& folder, const LumPalStr::String_t& name);
/// Deletes what IsLeftAside finds. The caller holds the folder's lock, so that nobody is at work. What is no regular
/// file stays.
void RemoveLeftAside(const LumPalStr::String_t& folder, const LumPalStr::String_t& name);
/// Renames a file of the folder over another one, with the same promise: the one that was read, and no other.
/// @param file  what ReadSnapshot found there
void PromoteFile(const FileSnapshot& file, const LumPalStr::String_t& folder, const LumPalStr::String_t& from,
                 const LumPalStr::String_t& to);

/// Holds the folder's lock file, against other threads and other processes, for a scope.
class FolderLock {
public:
    enum class IfHeld { Wait, GiveUp };
    /// Makes the folder when it is not there, and takes the lock.
    /// @throws LumPalIo::IOException_t
    explicit FolderLock(const LumPalStr::String_t& folder, IfHeld ifHeld = IfHeld::Wait);
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    /// False when somebody else holds it and it was not waited for.
    bool IsTaken() const noexcept { return static_cast<bool>(descriptor); }

private:
    std::shared_ptr<void> descriptor;
};

}  // namespace LumPalConfig
