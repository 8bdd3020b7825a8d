/// @file
/// Reading a file whose name somebody else tells.
#pragma once

#include "LumPalIo.h"

namespace LumPalIo {

/// Opens a file to read, through links, and never waits: not for a pipe, and unlike FileInputStream_t not for what a
/// device gives. Nothing else than a file is touched. @throws FileNotFoundException_t, IOException_t
LUMPAL_API InputStream_t OpenPlainFile(const File_t& file);

}  // namespace LumPalIo
