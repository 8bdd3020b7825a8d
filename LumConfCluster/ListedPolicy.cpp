#include "LumConfCluster/ListedPolicy.h"

namespace LumConfCluster {

using LumPalStr::String_t;

ListedPolicy ListedPolicy::Of(const String_t& listed) {
    const std::uint32_t colon = listed.Find(":");
    if (colon == LumPalStr::NotFound) return {"", listed};
    return {listed.Left(colon), listed.Mid(colon + 1)};
}

bool ListedPolicy::Means(const String_t& policyName, const String_t& policyType) const {
    return policyName == name && (type.IsEmpty() || policyType == type);
}

}  // namespace LumConfCluster
