#include "HashedPlaces.h"

#include <algorithm>
#include <bit>

namespace LumConf {

namespace {
constexpr std::size_t kLeastSlots = 64;
}

void HashedPlaces::Clear() noexcept {
    slots.clear();
    count = 0;
}

void HashedPlaces::Reserve(std::size_t entries) {
    const std::size_t size = std::bit_ceil(std::max(2 * entries, kLeastSlots));
    if (size > slots.size()) Resize(size);
}

void HashedPlaces::Add(std::uint32_t hash, std::size_t place) {
    Reserve(count + 1);
    Put({hash, static_cast<std::uint32_t>(place)});
    ++count;
}

void HashedPlaces::Put(const Slot& slot) noexcept {
    std::size_t i = slot.hash & Mask();
    while (slots[i].place != kFree) i = (i + 1) & Mask();
    slots[i] = slot;
}

void HashedPlaces::Resize(std::size_t size) {
    std::vector<Slot> former(size);
    former.swap(slots);
    for (const Slot& slot : former) {
        if (slot.place != kFree) Put(slot);
    }
}

}  // namespace LumConf
