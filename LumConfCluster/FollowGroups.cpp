#include "FollowGroups.h"

#include <map>

#include "Exceptions.h"
#include "HostNames.h"
#include "LumPalDaemon.h"
#include "Names.h"
#include "PolicyAttributeImpl.h"
#include "Selection.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

constexpr const char* kGroupPrefix = "HARG:";
constexpr std::uint32_t kGroupPrefixLength = 5;
constexpr const char* kNoGroup = "noHARG";

/// What one look at the cluster says of the groups. Each is looked up once, however many policies name it.
class GroupsHere {
public:
    GroupsHere(const ClusterResourceGroups& groups, const LocalName& local) : groups(groups), local(local) {}
    bool IsOnlineHere(const String_t& word) {
        const auto [found, isNew] = known.try_emplace(word, false);
        if (isNew) found->second = LookUp(word);
        return found->second;
    }

private:
    bool LookUp(const String_t& word) const {
        try {
            const ClusterResourceGroup group = groups[word];
            return group.GetState() == RGState::Online && IsHere(group.GetActiveNode().GetName());
        } catch (const LumPalMsg::Exception_t& e) {
            LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
            return false;
        }
    }
    bool IsHere(const String_t& node) const {
        return local.isExact ? node == local.name : IsNameOfHost(node, local.name);
    }

    const ClusterResourceGroups& groups;
    const LocalName& local;
    std::map<String_t, bool> known;
};

enum class Wanted { Untouched, Enabled, Disabled };

Wanted WantedOf(const PolicyRecord& policy, GroupsHere& groups) {
    Wanted wanted = Wanted::Untouched;
    for (const auto& attribute : policy.attributes) {
        const String_t name = attribute->GetName();
        if (name.Left(kGroupPrefixLength) != kGroupPrefix) continue;
        wanted = Wanted::Disabled;
        const String_t word = name.Mid(kGroupPrefixLength);
        if (word == kNoGroup || groups.IsOnlineHere(word)) return Wanted::Enabled;
    }
    return wanted;
}

void SetStatus(const PolicyRecord& policy, Wanted wanted, PolicyOperation& policies) {
    const bool enable = wanted == Wanted::Enabled;
    if (policy.status == (enable ? names::StatusEnabled : names::StatusDisabled)) return;
    try {
        policies.SetStatus(names::NsConfCluster, Selection().SetPolicyId(policy.containerId),
                           enable ? PolicyOperation::Enable : PolicyOperation::Disable,
                           PolicyForwarder::Options().SetNotify(false));
    } catch (const ConfException& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
}

}  // namespace

PolicyContainer ListInstalled(PolicyOperation& policies) {
    return policies.GetPolicyContainer(names::NsConfCluster, Selection());
}

void FollowGroups(const ClusterResourceGroups& groups, const LocalName& local, const PolicyList& list,
                  PolicyOperation& policies, MonitorWarnings& warnings) {
    GroupsHere here(groups, local);
    try {
        const PolicyContainer all = list(policies);
        for (int i = 0; i < all.GetCount() && !LumPalRuntime::IsStopping(); ++i) {
            // Of one moment: others may change the policy meanwhile.
            const PolicyRecord policy = all.GetPolicyHeader(i).GetImpl()->Snapshot();
            const Wanted wanted = WantedOf(policy, here);
            if (wanted == Wanted::Untouched) continue;
            SetStatus(policy, wanted, policies);
            warnings.Grouped(policy);
        }
    } catch (const NoPoliciesInstalledError& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    } catch (const PolicyNotFoundError& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
}

}  // namespace LumConfCluster
