/// @file
/// The seam by which tests let single file operations fail, and watch them.
#pragma once

#include "LumPalExport.h"

namespace LumPalIo {

/// Asked before each operation that changes the file system, before a file is opened for reading, and before a program
/// is started; true lets it fail: with the error number that the hook left in errno, or an I/O error (EIO) for 0. Also
/// before a connection is accepted; true lets that fail as without descriptors (EMFILE).
/// @param operation  "open" (for writing), "write", "rename", "unlink", "rmdir", "mkdir", "chmod", "fsync",
///                   "syncfs" (flushing all of a folder's file system), "read" (opening for reading), "close" (of a
///                   file that was written), "spawn", "accept", "serve" (the making of an RPC server)
/// @param path       the path concerned (of a rename, the old one), or the program; of "accept" "control.sock" for the
///                   control service, else empty; of "serve" the server's base path
/// Called from whatever thread does the operation.
using FaultHook = bool (*)(const char* operation, const char* path);

/// Sets the hook of this process; null, as at the start, takes it away. Any thread may call it; other threads have left
/// the former hook when it returns.
LUMPAL_API void SetFaultHookForTest(FaultHook hook) noexcept;

/// Called after each operation of the hook's list that changed or flushed something.
/// @param path    the path concerned (of a rename, the old one; of a file that was made with a name of its own, that
/// one)
/// @param target  the new path of a rename, else null
/// Called from whatever thread did the operation.
using FileObserver = void (*)(const char* operation, const char* path, const char* target);

/// Sets the observer of this process, likewise.
LUMPAL_API void SetFileObserverForTest(FileObserver observer) noexcept;

}  // namespace LumPalIo
