/// @file
/// Whether a header has a category or an attribute already.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "LumPalPtr.h"
#include "LumPalStr.h"
#include "PolicyAttributeImpl.h"
#include "TextHash.h"

namespace LumConf {

/// Tells what is new to the lists of a header while they grow. A short list is walked; a long one too, so often as that
/// costs less than an index of what it holds. So the usual header of a few entries takes no memory for it, and a
/// document of very many is read in time that grows with their number alone. One thread at a time.
class EntryLookUps {
public:
    using Categories = std::vector<LumPalStr::String_t>;
    using Attributes = std::vector<LumPalPtr::RefPtr_t<PolicyAttributeImpl>>;

    EntryLookUps();
    ~EntryLookUps();
    EntryLookUps(const EntryLookUps&) = delete;
    EntryLookUps& operator=(const EntryLookUps&) = delete;

    /// Whether the list does not hold the entry, compared exactly. If so, it must be appended to the list now.
    /// @param list  the same one each time; no entry twice
    bool IsNew(const Categories& list, const LumPalStr::String_t& category);
    bool IsNew(const Attributes& list, const TextPair& attribute);
    /// To be called when anything leaves a list, and when no more is to come.
    void Drop() noexcept;

private:
    struct Indexes;
    bool AsksIndex(std::size_t entries);

    std::unique_ptr<Indexes> indexes;  ///< null for the usual header
    std::uint8_t longWalks = 0;        ///< without indexes, up to a handful
};

}  // namespace LumConf
