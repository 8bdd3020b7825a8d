#include "common/Selections.h"

#include <set>

#include "SelectionContainer.h"

namespace lumtools {

using LumConf::PolicyContainer;
using LumPalStr::String_t;

namespace {

std::set<String_t> IdsOf(const PolicyContainer& policies, const LumConf::Selection& selection) {
    LumConf::SelectionContainer picked;
    picked.Init(policies, selection);
    const std::vector<String_t> ids = picked.TakeIds();
    return {ids.begin(), ids.end()};
}

}  // namespace

void Selections::Narrow(const PolicyContainer& policies) const {
    for (std::size_t i = 1; i < all.size(); ++i) {
        const std::set<String_t> meant = IdsOf(policies, all[i]);
        std::vector<String_t> others;
        for (int p = 0; p < policies.GetCount(); ++p) {
            const String_t id = policies.GetPolicyHeader(p).GetContainerId();
            if (meant.count(id) == 0) others.push_back(id);
        }
        for (const String_t& id : others) policies.Remove(id);
    }
}

}  // namespace lumtools
