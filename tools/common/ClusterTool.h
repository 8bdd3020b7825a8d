/// @file
/// What the programs of the cluster command line have in common: all but their names.
#pragma once

namespace lumtools {

/// Does what the arguments ask for, and prints what went wrong to standard error.
/// @param name  the program's
/// @return      what the program ends with: a value of ClusterCliHandler, kFailed or kWrongUsage
int RunClusterTool(const char* name, int argc, char** argv);

}  // namespace lumtools
