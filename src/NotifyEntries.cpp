#include "NotifyEntries.h"

namespace LumConf {

using LumPalStr::String_t;

bool NotifyEntries::Contains(const String_t& type, const String_t& id) const {
    auto found = types.find(type);
    return found != types.end() && found->second.places.count(id) > 0;
}

void NotifyEntries::Add(const String_t& type, const String_t& id) {
    if (Contains(type, id)) return;
    Ids& ids = types[type];
    ids.places.emplace(id, nextPlace);
    ids.inOrder.emplace(nextPlace, id);
    ++nextPlace;
    ++count;
}

void NotifyEntries::Erase(const String_t& type, const String_t& id) {
    if (!Contains(type, id)) return;
    auto found = types.find(type);
    Ids& ids = found->second;
    auto place = ids.places.find(id);
    ids.inOrder.erase(place->second);
    ids.places.erase(place);
    --count;
    if (ids.places.empty()) types.erase(found);
}

std::vector<NotifyEntries::OfType> NotifyEntries::ByType() const {
    std::vector<OfType> all;
    for (const auto& [type, ids] : types) {
        OfType one{type, {}};
        for (const auto& [place, id] : ids.inOrder) one.ids.push_back(id);
        all.push_back(std::move(one));
    }
    return all;
}

}  // namespace LumConf
