/// @file
/// Where the configuration of applications lies.
#pragma once

#include "Export.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// The file that a load of the applications takes for this one: of the two places the first where it is. Null where it
/// is in neither, and for a name that no file may have (docs/files.md): nothing is looked for then. Any thread.
LUMCONF_API LumPalIo::File_t FindApplicationFile(const LumPalStr::String_t& application);
/// Whether an application's file may have this name. Any thread.
LUMCONF_API bool CanHaveApplicationFile(const LumPalStr::String_t& application);

}  // namespace LumConfCluster
