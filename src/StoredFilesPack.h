/// @file
/// Packs what is installed into the transfer format (its layout stands in PolicyUtil.h).
#pragma once

#include "LumPalIo.h"
#include "PolicyHeaderImpl.h"
#include "StoredPolicy.h"

namespace LumConf {

/// Collects installed policies. One thread.
class StoredFilesPack {
public:
    /// Most bytes of a package: everything is built in memory.
    static constexpr std::size_t kMostBytes = 64u << 20;
    /// Most bytes of a file whose digest is told: as many as one that travels may have.
    static constexpr std::size_t kMostHashed = 0x7FFFFFFF;

    explicit StoredFilesPack(StoredFiles what);
    /// Takes one policy in as its files are now; links are not followed, and names that lead elsewhere are not looked
    /// at. One whose document is not there, meanwhile perhaps, is left out, as is a data file that is not there as a
    /// plain file. A data file that cannot be read, or is too large, has an empty digest.
    /// @param store  the folder of all types
    /// @throws PolicyFileException StoredFilesTooLarge; LumPalIo::IOException_t when a document cannot be read, or the
    ///         content of a data file
    void Add(const LumPalIo::File_t& store, const PolicyRecord& policy);
    /// The package. To be called once.
    LumPalArray::CharArray_t Take();

private:
    struct Entry {
        LumPalStr::String_t name;
        LumPalArray::CharArray_t bytes;
    };
    using Entries = std::vector<Entry>;

    void AddFrom(const LumPalIo::Folder_t& folder, const PolicyRecord& policy);
    void AddDataFiles(const LumPalIo::Folder_t& folder, const PolicyRecord& policy, Entries& entries) const;
    LumPalArray::CharArray_t ReadData(const LumPalIo::Folder_t& folder, const LumPalStr::String_t& name) const;
    LumPalArray::CharArray_t ReadWhole(const LumPalIo::InputStream_t& file) const;
    void Write(const Entries& entries);

    const StoredFiles what;
    std::int32_t count = 0;
    LumPalIo::CharArrayOutputStream_t collected;  ///< begins with room for the count
};

}  // namespace LumConf
