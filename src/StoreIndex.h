/// @file
/// Where in the store the headers of many policies lie.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumConf {

/// Finds the entries of the store that hold headers of given ids by one look at each entry, in place of a look into
/// every entry for each id. What it says may be out of date: the file itself is to be asked. Constant after
/// construction; any thread.
class StoreIndex {
public:
    /// Null when it would cost more than it saves: for few ids, or few types.
    /// @param ids  in lower case. @throws as StoreWalk::AllEntries
    static std::unique_ptr<const StoreIndex> MakeFor(const std::vector<LumPalStr::String_t>& ids);

    /// The entries in which the id's header may lie, in the order of StoreWalk::AllEntries; none for an id that was not
    /// given at the start.
    std::vector<LumPalIo::File_t> EntriesOf(const LumPalStr::String_t& id) const;

private:
    using Entries = std::vector<LumPalIo::File_t>;
    StoreIndex(const std::vector<LumPalStr::String_t>& ids, Entries entries);
    void Look(const LumPalIo::File_t& entry, std::size_t number);
    void Take(const LumPalStr::String_t& fileName, std::size_t number);

    const Entries entries;
    std::map<LumPalStr::String_t, std::vector<std::size_t>> places;  ///< by file name in lower case: numbers of entries
    std::vector<std::size_t> hidden;                                 ///< entries that cannot be listed
};

}  // namespace LumConf
