/// @file
/// Places in a list, found by the hashes of what stands there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace LumConf {

/// Tells in one look whether a list of very many entries has one, however many there are. It knows the entries by their
/// hashes (see TextHash.h) and their places alone, and asks the caller whether the one that stands there is it. Entries
/// of one hash are walked: equal ones must not be added again and again. Nothing can be taken out. A value; one thread
/// at a time.
class HashedPlaces {
public:
    std::size_t GetCount() const noexcept { return count; }
    void Clear() noexcept;
    /// Takes memory for so many entries ahead.
    void Reserve(std::size_t entries);
    /// @param place  below 0xFFFFFFFF
    void Add(std::uint32_t hash, std::size_t place);

    /// Whether an entry of that hash is it. @param isIt  called with the places of those
    template <class IsIt>
    bool Has(std::uint32_t hash, const IsIt& isIt) const {
        if (slots.empty()) return false;
        for (std::size_t i = hash & Mask(); slots[i].place != kFree; i = (i + 1) & Mask()) {
            if (slots[i].hash == hash && isIt(std::size_t{slots[i].place})) return true;
        }
        return false;
    }

private:
    static constexpr std::uint32_t kFree = 0xFFFFFFFFu;
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t place = kFree;
    };
    std::size_t Mask() const noexcept { return slots.size() - 1; }
    void Put(const Slot& slot) noexcept;
    void Resize(std::size_t size);

    std::vector<Slot> slots;  ///< a power of two, at most half of them taken, so that a search ends soon
    std::size_t count = 0;
};

}  // namespace LumConf
