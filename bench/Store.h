/// @file
/// A store of policies on disk.
#pragma once

#include <cstddef>
#include <string>

#include "Harness.h"
#include "TempRoot.h"

namespace bench {

/// A folder in memory where the system has such a place: for what measures the work of the processor, and no disk.
const char* PlaceInMemory();

/// So many small policies of ten types below a root of their own in memory, which goes with the object.
class Store {
public:
    explicit Store(int policies);

    /// Makes it the store that the library reads.
    void Use() const;
    std::string Folder() const { return root.Native() + "/policies"; }
    int GetCount() const noexcept { return count; }
    /// Of all documents together.
    std::size_t GetBytes() const noexcept { return bytes; }

    /// The two that the benchmarks share, of 10,000 and 100,000 policies; made when first asked for, gone with the
    /// program. Quick sessions get far smaller ones.
    static const Store& Small(const Session& session);
    static const Store& Large(const Session& session);

private:
    TempRoot root;
    int count;
    std::size_t bytes;
};

}  // namespace bench
