/// @file
/// The header files below a path.
#pragma once

#include "Export.h"
#include "LumPalIo.h"
#include "LumPalPtr.h"

namespace LumConf {

class DirectoryImpl;

/// A sorted list of policy header files. A handle: copies share the list. One thread at a time.
class LUMCONF_API Directory {
public:
    Directory();
    Directory(const Directory& other);
    Directory& operator=(const Directory& other);
    ~Directory();

    /// Replaces the list by the header files of a directory (not of those below it), in the order of their names, or
    /// by the one file that is given. Symbolic links are not taken. A path that is not there or is no header
    /// file leaves the list empty and is only traced.
    void ExtractPolicyFilenames(const LumPalIo::File_t& file) const;
    int GetPolicyFilenameCount() const;
    /// @throws PolicyNotFoundError 13 for a bad index
    LumPalIo::File_t GetPolicyFilename(int index) const;

private:
    LumPalPtr::RefPtr_t<DirectoryImpl> impl;
};

}  // namespace LumConf
