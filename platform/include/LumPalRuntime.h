/// @file
/// The running program and the node's directories.
#pragma once

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalRuntime {

/// Kinds of directories below the node's root (LUM_ROOT in the environment, else /var/opt/lum).
enum DirKey_e { Root = 3, Etc = 7, Spool = 9, LogDir = 11, Policies = 13, Temp = 14 };

class LUMPAL_API Dir_t {
public:
    /// The directory of the kind with the sub-path below it, ending in the separator;
    /// a null or empty sub-path gives the directory itself. Nothing is created.
    /// @throws LumPalMsg::IllegalArgumentError_t for an unknown kind.
    static LumPalStr::String_t Path(int kind, const LumPalStr::String_t& subPath = LumPalStr::String_t::Null());
    /// Sets the root for this process (the daemon's --root); before any other use of the library. Tests
    /// call it again for a root of their own; an empty root returns to the environment's.
    static void SetRoot(const LumPalStr::String_t& root);
};

class LUMPAL_API App_t {
public:
    /// To be called by main before other threads run; a program that does not is named "lum".
    static void Init(int argc, const char* const* argv);
    /// File name of the running program.
    static LumPalStr::String_t GetName();
    /// Number of arguments, the program's name counted.
    static int GetArgCount();
    /// Argument 0 is the program as it was called.
    /// @throws LumPalMsg::IllegalArgumentError_t for an index that is not there.
    static LumPalStr::String_t GetArg(int index);
};

class LUMPAL_API Environment_t {
public:
    /// The value of a variable as it is now, read as UTF-8; empty when it is not set. Any thread, as long as none
    /// changes the environment (getenv(3)).
    static LumPalStr::String_t Get(const char* name);
};

}  // namespace LumPalRuntime
