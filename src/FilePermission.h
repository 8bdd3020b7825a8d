/// @file
/// Permissions of store files.
#pragma once

#include "LumPalIo.h"

namespace LumConf {

/// What the system's permission mask uses for each class and right; 0 where it knows none.
struct PermissionBits {
    unsigned ownerRead, groupRead, otherRead;
    unsigned ownerWrite, groupWrite, otherWrite;
    unsigned ownerExecute, groupExecute, otherExecute;
};
const PermissionBits& SystemPermissionBits() noexcept;

/// A set of permissions, empty at first. A value; the operations add, and return the object for chaining.
class FilePermissionSet {
public:
    FilePermissionSet& OwnerRead() { return Add(SystemPermissionBits().ownerRead); }
    FilePermissionSet& OwnerWrite() { return Add(SystemPermissionBits().ownerWrite); }
    FilePermissionSet& OwnerExecute() { return Add(SystemPermissionBits().ownerExecute); }
    FilePermissionSet& GroupRead() { return Add(SystemPermissionBits().groupRead); }
    FilePermissionSet& GroupWrite() { return Add(SystemPermissionBits().groupWrite); }
    FilePermissionSet& GroupExecute() { return Add(SystemPermissionBits().groupExecute); }
    FilePermissionSet& OtherRead() { return Add(SystemPermissionBits().otherRead); }
    FilePermissionSet& OtherWrite() { return Add(SystemPermissionBits().otherWrite); }
    FilePermissionSet& OtherExecute() { return Add(SystemPermissionBits().otherExecute); }

    bool IsSet() const noexcept { return isSet; }
    /// The mask for the system. @throws LumPalMsg::IllegalStateError_t 5 when nothing was added
    unsigned GetMode() const;

    /// Owner and group may read and write.
    static FilePermissionSet Writable() {
        return FilePermissionSet().OwnerRead().OwnerWrite().GroupRead().GroupWrite();
    }
    /// Owner and group may read: how a stored file rests.
    static FilePermissionSet Protected() { return FilePermissionSet().OwnerRead().GroupRead(); }
    /// The owner alone may read: what a file becomes that could not be deleted.
    static FilePermissionSet OwnerReadOnly() { return FilePermissionSet().OwnerRead(); }

private:
    FilePermissionSet& Add(unsigned bits) {
        mode |= bits;
        isSet = true;
        return *this;
    }

    unsigned mode = 0;
    bool isSet = false;
};

/// Binds permissions to a file, for one Apply. A file that cannot be changed shows up only when what follows fails.
class FilePermission {
public:
    /// @throws LumPalMsg::IllegalStateError_t 6 for a null file
    void SetFile(const LumPalIo::File_t& newFile);
    /// Changes the file and forgets it; a symbolic link is left alone, and so is a file that has a second name.
    /// @return false when there is no file or nothing in the set; whether the system obeyed is not reported
    bool Apply(const FilePermissionSet& permissions);
    /// Both steps in one.
    static void Apply(const LumPalIo::File_t& file, const FilePermissionSet& permissions);

private:
    LumPalIo::File_t file;
    bool hasFile = false;
};

}  // namespace LumConf
