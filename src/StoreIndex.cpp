#include "StoreIndex.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Names.h"
#include "StoreWalk.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::DirLister_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

/// Looks for one file each: less work than a list of all files of a large store.
constexpr std::size_t kCheapLooks = 4096;

String_t HeaderNameOf(const String_t& id) {
    return id + names::HeaderFileSuffix;
}

}  // namespace

std::unique_ptr<const StoreIndex> StoreIndex::MakeFor(const std::vector<String_t>& ids) {
    if (ids.size() < 2) return nullptr;
    Entries entries = StoreWalk::AllEntries();
    if (entries.size() < 2 || ids.size() <= kCheapLooks / entries.size()) return nullptr;
    return std::unique_ptr<const StoreIndex>(new StoreIndex(ids, std::move(entries)));
}

StoreIndex::StoreIndex(const std::vector<String_t>& ids, Entries all) : entries(std::move(all)) {
    for (const String_t& id : ids) places.try_emplace(HeaderNameOf(id));
    for (std::size_t i = 0; i < entries.size(); ++i) Look(entries[i], i);
}

void StoreIndex::Look(const File_t& entry, std::size_t number) {
    if (!entry.IsDirectory()) return Take(entry.GetName(), number);
    try {
        DirLister_t lister(entry, DirLister_t::Filter_t::Suffix(names::HeaderFileSuffix));
        while (lister.Next()) Take(lister.GetCurrentFile().GetName(), number);
    } catch (const LumPalIo::IOException_t& e) {
        // A folder may let its files be opened, and not be listed.
        LUMCONF_TRACE(trace::Policy, String_t(e.GetMessageList()));
        hidden.push_back(number);
    }
}

void StoreIndex::Take(const String_t& fileName, std::size_t number) {
    const auto place = places.find(fileName.ToLower());
    if (place == places.end()) return;
    // Two files of a folder may differ in case alone.
    if (place->second.empty() || place->second.back() != number) place->second.push_back(number);
}

std::vector<File_t> StoreIndex::EntriesOf(const String_t& id) const {
    const auto place = places.find(HeaderNameOf(id));
    if (place == places.end()) return {};
    std::vector<std::size_t> numbers;
    std::set_union(place->second.begin(), place->second.end(), hidden.begin(), hidden.end(),
                   std::back_inserter(numbers));
    Entries found;
    for (const std::size_t number : numbers) found.push_back(entries[number]);
    return found;
}

}  // namespace LumConf
