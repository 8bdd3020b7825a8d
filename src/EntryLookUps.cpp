#include "EntryLookUps.h"

#include <algorithm>

#include "HashedPlaces.h"

namespace LumConf {

using LumPalStr::String_t;
using Attribute = LumPalPtr::RefPtr_t<PolicyAttributeImpl>;

struct EntryLookUps::Indexes {
    HashedPlaces categories, attributes;
};

namespace {

/// Lists up to this length are walked, and longer ones so many times.
constexpr std::size_t kHandful = 16;

std::uint32_t HashOfEntry(const String_t& category) {
    return HashOf(category);
}
std::uint32_t HashOfEntry(const Attribute& attribute) {
    return HashOf(TextPair(attribute->GetName(), attribute->GetValue()));
}

bool IsIt(const String_t& entry, const String_t& category) {
    return entry == category;
}
bool IsIt(const Attribute& entry, const TextPair& attribute) {
    return entry->GetName() == attribute.first && entry->GetValue() == attribute.second;
}

/// An index with another count than its list is out of date: an entry could not be appended, say.
template <class List>
void BringUpToDate(HashedPlaces& index, const List& list) {
    if (index.GetCount() == list.size()) return;
    index.Clear();
    index.Reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) index.Add(HashOfEntry(list[i]), i);
}

template <class List, class Key>
bool IsNewTo(HashedPlaces& index, const List& list, const Key& key) {
    BringUpToDate(index, list);
    const std::uint32_t hash = HashOf(key);
    if (index.Has(hash, [&](std::size_t place) { return IsIt(list[place], key); })) return false;
    index.Add(hash, list.size());
    return true;
}

template <class List, class Key>
bool IsNewByWalk(const List& list, const Key& key) {
    return std::none_of(list.begin(), list.end(), [&](const auto& entry) { return IsIt(entry, key); });
}

}  // namespace

EntryLookUps::EntryLookUps() = default;
EntryLookUps::~EntryLookUps() = default;

bool EntryLookUps::IsNew(const Categories& list, const String_t& category) {
    return AsksIndex(list.size()) ? IsNewTo(indexes->categories, list, category) : IsNewByWalk(list, category);
}

bool EntryLookUps::IsNew(const Attributes& list, const TextPair& attribute) {
    return AsksIndex(list.size()) ? IsNewTo(indexes->attributes, list, attribute) : IsNewByWalk(list, attribute);
}

bool EntryLookUps::AsksIndex(std::size_t entries) {
    if (entries <= kHandful) return false;
    if (indexes) return true;
    if (longWalks < kHandful) {
        ++longWalks;
        return false;
    }
    indexes = std::make_unique<Indexes>();
    return true;
}

void EntryLookUps::Drop() noexcept {
    indexes.reset();
    longWalks = 0;
}

}  // namespace LumConf
