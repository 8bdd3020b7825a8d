/// @file
/// What one change of one policy does to the files of the store.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumConf {

/// The whole of a change, in terms that may be carried out again wherever it was interrupted: whoever does so ends with
/// the new policy whole. A value. All names are plain (PlainName.h).
struct StoreChange {
    /// A file of the store.
    struct StoredFile {
        LumPalStr::String_t typeName, name;
        bool operator==(const StoredFile&) const = default;
    };
    /// The folder that a file waits in.
    enum class Waiting { Incoming, Temporary };
    /// What stood in a place before the change (LumPalFileMark.h). Its mode may have changed meanwhile.
    struct Former {
        std::uint64_t node = 0, size = 0;
        std::int64_t modified = 0;
        bool operator==(const Former&) const = default;
    };
    /// A file that takes its place in the store; what stands there goes.
    struct Placed {
        Waiting waiting;
        LumPalStr::String_t waitingName;
        StoredFile place;
        std::optional<Former> former = {};  ///< nothing: whatever stands there later is this file
    };

    LumPalStr::String_t typeName, id;  ///< the policy, for messages
    std::vector<StoredFile> deleted;   ///< none of them is a place
    std::vector<Placed> placed;
    std::vector<LumPalStr::String_t> emptied;  ///< types whose folders go if nothing is left in them

    /// Adds to `deleted` what no file of `placed`, which is complete by now, takes the place of; names that are not
    /// plain are left out, as nothing in the store bears them.
    void DeleteUnlessPlaced(const std::vector<StoredFile>& files);

    /// The record of a change: UTF-8, a line for each fact, fields parted by tabs, closed by a line of its own.
    LumPalArray::CharArray_t ToText() const;
    /// @param line  where reading stopped, from 1
    /// @return false for a text that ToText did not write
    static bool FromText(const LumPalArray::CharArray_t& text, StoreChange& change, int& line);
};

}  // namespace LumConf
