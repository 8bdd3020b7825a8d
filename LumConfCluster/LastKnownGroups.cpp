#include "LastKnownGroups.h"

#include <set>

#include "ClusterResourceGroupImpl.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

LumPalMsg::Message_t GivenUp(const String_t& group) {
    return LumPalMsg::CreateWarn_t(
               "The cluster has not told for '%1' seconds whether the group '%2' runs. What belongs to it "
               "is off from now on, until it is found.")
           << LumPalStr::NumToStr(LastKnownGroups::kLongest.count()) << group;
}

}  // namespace

ClusterResourceGroup LastKnownGroups::SettledOr(const ClusterResourceGroup& told, Moment now) {
    const String_t name = told.GetName();
    if (told.IsSettled()) {
        last.insert_or_assign(name, Known{told, now});
        return told;
    }
    const auto found = last.find(name);
    if (found == last.end()) return told;
    Known& known = found->second;
    if (now - known.seen <= kLongest) return known.group;
    if (!known.isGivenUp) LumPalLog::Log(GivenUp(name));
    known.isGivenUp = true;
    return told;
}

ClusterResourceGroups LastKnownGroups::Settle(const ClusterResourceGroups& told, Moment now) {
    const ClusterResourceGroups settled;
    std::set<String_t> names;
    for (int i = 0; i < told.Count(); ++i) {
        names.insert(told[i].GetName());
        settled.GetImpl()->Add(SettledOr(told[i], now));
    }
    std::erase_if(last, [&](const auto& each) { return !names.contains(each.first); });
    return settled;
}

}  // namespace LumConfCluster
