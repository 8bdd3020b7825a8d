/// @file
/// Policy ids by type, in order, each once.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "LumPalStr.h"

namespace LumConf {

/// A set of (type, id) pairs that walks types in their order and the ids of a type in the order of their insertion.
/// Every operation on a pair is logarithmic. A value; one thread at a time.
class NotifyEntries {
public:
    struct OfType {
        LumPalStr::String_t type;
        std::vector<LumPalStr::String_t> ids;
    };

    bool Contains(const LumPalStr::String_t& type, const LumPalStr::String_t& id) const;
    /// A pair that is there keeps its place.
    void Add(const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    void Erase(const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    bool IsEmpty() const noexcept { return types.empty(); }
    void Clear() noexcept {
        types.clear();
        count = 0;
    }
    std::size_t GetCount() const noexcept { return count; }
    /// A copy of everything, type by type.
    std::vector<OfType> ByType() const;

private:
    struct Ids {
        std::map<LumPalStr::String_t, std::uint64_t> places;
        std::map<std::uint64_t, LumPalStr::String_t> inOrder;
    };
    std::map<LumPalStr::String_t, Ids> types;  ///< no type without an id
    std::uint64_t nextPlace = 0;
    std::size_t count = 0;
};

}  // namespace LumConf
