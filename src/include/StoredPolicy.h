/// @file
/// An installed policy with all that belongs to it, as a node tells it.
#pragma once

#include <vector>

#include "Export.h"
#include "LumPalArray.h"
#include "LumPalStr.h"
#include "PolicyHeader.h"

namespace LumConf {

/// What is asked for of the data files.
enum class StoredFiles : int {
    Digests = 1,  ///< the SHA-256 of each
    Contents = 2  ///< the bytes of each
};

/// A value.
struct LUMCONF_API StoredPolicy {
    struct DataFile {
        LumPalStr::String_t name;
        /// The content, or 32 bytes of its digest: none of these when the node cannot read the file whole.
        LumPalArray::CharArray_t bytes;
    };

    LumPalStr::String_t id;
    PolicyHeader header;                ///< as the document says; the id alone when nobody can read the document
    LumPalArray::CharArray_t document;  ///< byte by byte as it is installed
    std::vector<DataFile> dataFiles;    ///< each once; of those that the document names the ones that are there

    /// The policies that a package of the transfer format holds, from anywhere: every name is a plain one.
    /// @throws PolicyFileException, LumPalIo::IOException_t for what is no package
    static std::vector<StoredPolicy> Unpack(const LumPalArray::CharArray_t& package);
};

}  // namespace LumConf
