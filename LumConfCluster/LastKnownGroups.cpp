#include "LastKnownGroups.h"

#include <algorithm>
#include <set>

#include "ClusterResourceGroupImpl.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

LumPalMsg::Message_t GivenUp(const ClusterResourceGroup& group) {
    return LumPalMsg::CreateWarn_t(
               "The cluster has not known for '%1' seconds whether the group '%2' still runs on '%3'. From now on it "
               "does "
               "not count as online there, until the cluster tells so.")
           << LumPalStr::NumToStr(LastKnownGroups::kLongest.count()) << group.GetName()
           << group.GetActiveNode().GetName();
}

bool MayStillBeThere(const ClusterResourceGroup& told, const ClusterResourceGroup& before) {
    const std::vector<String_t>& nodes = told.GetImpl()->mayBeOn;
    return before.GetState() == RGState::Online &&
           std::find(nodes.begin(), nodes.end(), before.GetActiveNode().GetName()) != nodes.end();
}

}  // namespace

ClusterResourceGroup LastKnownGroups::SettledOr(const ClusterResourceGroup& told, Moment now) {
    const auto found = last.find(told.GetName());
    if (found == last.end() || !MayStillBeThere(told, found->second.group)) {
        last.insert_or_assign(told.GetName(), Known{told, {}});
        return told;
    }
    Known& known = found->second;
    if (!known.heldSince) known.heldSince = now;
    if (now - *known.heldSince <= kLongest) return known.group;
    if (!known.isGivenUp) LumPalLog::Log(GivenUp(known.group));
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
