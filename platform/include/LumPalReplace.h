/// @file
/// Putting whole files in the place of others.
#pragma once

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumPalIo {

/// Puts a file with these bytes in the place of another one, or makes it. They are written aside in the same folder,
/// to a file whose name is the prefix and six letters or digits; it is flushed with its mode and renamed, and the
/// folder is flushed. So a reader finds the old file or the whole new one, and once this returns the new one is on the
/// disk. After a failure nothing is left aside, and the old file stands; but when only the folder cannot be flushed
/// the new one does. What former calls for the prefix left aside in the folder goes first (RemoveLeftAside).
/// Any thread and process, also for one folder at the same time.
/// @param file  its folder must be there
/// @param mode  permission bits, whatever the umask
/// @throws IOException_t, FileNotFoundException_t; LumPalMsg::IllegalArgumentError_t for a prefix with a separator
LUMPAL_API void ReplaceFile(const File_t& file, const LumPalStr::String_t& prefix,
                            const LumPalArray::CharArray_t& bytes, unsigned mode);

/// Deletes what ReplaceFile left aside in the folder in processes that were killed. What a living process writes is
/// held by it and stays, and so do files of other users, what is no regular file, and every other name. Never throws:
/// what cannot be deleted stays for the next time.
LUMPAL_API void RemoveLeftAside(const File_t& folder, const LumPalStr::String_t& prefix) noexcept;

}  // namespace LumPalIo
