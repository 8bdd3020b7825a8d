/// @file
/// The seam by which tests let single file operations fail.
#pragma once

#include "LumPalExport.h"

namespace LumPalIo {

/// Asked before each operation that changes the file system, before a file is opened for reading, and before a program
/// is started; true lets it fail with an I/O error (EIO). Also before a connection is accepted; true lets that fail as
/// without descriptors (EMFILE).
/// @param operation  "open" (for writing), "write", "rename", "unlink", "rmdir", "mkdir", "chmod", "fsync",
///                   "read" (opening for reading), "close" (of a file that was written), "spawn", "accept"
/// @param path       the path concerned (of a rename, the old one), or the program; of "accept" "control.sock" for the
///                   control service, else empty
/// Called from whatever thread does the operation.
using FaultHook = bool (*)(const char* operation, const char* path);

/// Sets the hook of this process; null, as at the start, takes it away. Any thread may call it.
LUMPAL_API void SetFaultHookForTest(FaultHook hook) noexcept;

}  // namespace LumPalIo
