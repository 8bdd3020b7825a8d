/// @file
/// Changes of files that are on the disk when they are done: what an answer promises outlives a power cut.
#pragma once

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumPalIo {

/// Forces a file's bytes and mode, or the names in a folder, to the disk.
/// @throws IOException_t, FileNotFoundException_t naming it
LUMPAL_API void Flush(const File_t& file);

/// Deletes a file and flushes its folder. @throws IOException_t, FileNotFoundException_t; when only the folder cannot
/// be flushed the file is gone
LUMPAL_API void DeleteFile(const File_t& file);

/// Flushes a file, renames it, replacing what stands there, and flushes both folders.
/// @throws IOException_t, FileNotFoundException_t; when only a folder cannot be flushed the file bears the new name
LUMPAL_API void MoveFile(const File_t& from, const File_t& to);

/// Puts a file with these bytes in the place of another one, or makes it. They are written aside in the same folder,
/// to a file whose name is the prefix and six letters or digits; it is flushed with its mode and renamed, and the
/// folder is flushed. So a reader finds the old file or the whole new one. After a failure nothing is left aside, and
/// the old file stands; but when only the folder cannot be flushed the new one does. What former calls for the prefix
/// left aside in the folder goes first (RemoveLeftAside). Any thread and process, also for one folder at the same time.
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
