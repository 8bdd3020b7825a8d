/// @file
/// The folders and header files of the policy store.
#pragma once

#include <vector>

#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumConf {

/// Finds header files in the store. Nothing is followed through a symbolic link: links are passed over with a trace.
/// Holds no state; any thread.
class StoreWalk {
public:
    /// Every entry of the policy installation directory, by name: one folder for each policy type.
    /// @throws LumPalIo::FileNotFoundException_t, LumPalIo::IOException_t when the directory cannot be listed
    static std::vector<LumPalIo::File_t> AllEntries();
    /// The folder of one type; none for a name that is no folder's.
    static std::vector<LumPalIo::File_t> EntryOf(const LumPalStr::String_t& typeName);
    /// The header files of an entry, by name; of a plain file the file itself, when its name is a header's.
    static std::vector<LumPalIo::File_t> HeaderFiles(const LumPalIo::File_t& entry);
    /// The header file of one policy in an entry, or none.
    static std::vector<LumPalIo::File_t> HeaderFileOf(const LumPalIo::File_t& entry, const LumPalStr::String_t& id);
};

}  // namespace LumConf
