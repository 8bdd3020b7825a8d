#include "LumConfCluster/ApplicationNames.h"

#include <map>
#include <set>

#include "MarkedNames.h"

namespace LumConfCluster {

using LumPalStr::String_t;

struct ApplicationNames::Impl {
    MarkedNames seen;
    std::vector<String_t> names;
    std::set<String_t> exact;
};

ApplicationNames::ApplicationNames() : impl(std::make_unique<Impl>()) {}

ApplicationNames::~ApplicationNames() = default;

// kept: a name that occurs inside an earlier one counts as known
ApplicationNames::Entry ApplicationNames::Add(const String_t& name) {
    if (impl->seen.Occurs(name)) return impl->exact.count(name) > 0 ? Entry::Further : Entry::Dropped;
    impl->seen.Add(name);
    impl->names.push_back(name);
    impl->exact.insert(name);
    return Entry::First;
}

String_t ApplicationNames::FindHolder(const String_t& name) const {
    for (const String_t& each : impl->names) {
        if (each.Find(name) != LumPalStr::NotFound) return each;
    }
    return "";
}

String_t ApplicationNames::Mark() {
    return MarkedNames::kMarker;
}

NamePairs FindAlikeButForCase(const std::vector<String_t>& names) {
    NamePairs alike;
    std::map<String_t, String_t> firsts;
    std::set<String_t> told;
    for (const String_t& name : names) {
        const auto [first, isNew] = firsts.try_emplace(name.ToLower(), name);
        if (!isNew && first->second != name && told.insert(name).second) alike.emplace_back(name, first->second);
    }
    return alike;
}

}  // namespace LumConfCluster
