#include "DataFileIndex.h"

#include <tuple>

namespace LumConf {

bool DataFileIndex::Use::operator<(const Use& other) const {
    return std::tie(file, typeName, id) < std::tie(other.file, other.typeName, other.id);
}

void DataFileIndex::Add(PolicyHeaderImpl* header, Places& places) {
    const PolicyKeys keys = header->GetKeys();
    const std::vector<LumPalStr::String_t> files = header->GetDataFileNames();
    places.reserve(places.size() + files.size());
    for (const LumPalStr::String_t& file : files) {
        const auto [place, isNew] = uses.try_emplace({file, keys.typeName, keys.containerId}, header);
        if (isNew) places.push_back(place);  // a document of the store may name a file twice
    }
}

void DataFileIndex::Remove(const Places& places) {
    for (const Uses::iterator& place : places) uses.erase(place);
}

}  // namespace LumConf
