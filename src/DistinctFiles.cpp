#include "DistinctFiles.h"

#include <set>

namespace LumConf {

using LumPalStr::String_t;

std::vector<String_t> DistinctDataFiles(const PolicyRecord& policy) {
    std::set<String_t> seen;
    std::vector<String_t> names;
    for (const PolicyDataFile& file : policy.dataFiles) {
        if (seen.insert(file.name).second) names.push_back(file.name);
    }
    return names;
}

}  // namespace LumConf
