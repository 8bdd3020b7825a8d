#include "lumpolicy/ToolsGuard.h"

#include <set>

#include "common/Arguments.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumConfPar::SettingsMerge;
using LumPalStr::String_t;
using lumtools::Text;

namespace {

/// @return whether it is new to the node
bool Install(SettingsMerge& merge, const std::string& file) {
    const int before = merge.GetPolicies().GetCount();
    merge.Install(LumPalIo::File_t(Text(file)));
    return merge.GetPolicies().GetCount() > before;
}

void SetStatus(SettingsMerge& merge, const String_t& id, bool isEnabled) {
    if (isEnabled) return merge.Enable(id);
    merge.Disable(id);
}

}  // namespace

bool IsOfSettings(const PolicyHeader& header) {
    return header.GetTypeName() == "configsettings";
}

void ImagineInstalls(SettingsMerge& merge, const std::vector<std::string>& files, const InstallChoices& choices) {
    for (const std::string& file : files) {
        const PolicyHeader header = PolicyHeader::Read(LumPalIo::File_t(Text(file)));
        if (!IsOfSettings(header)) continue;
        const bool isNew = Install(merge, file), isGiven = choices.enable || choices.disable;
        if (choices.forceState || (isNew && isGiven)) {
            SetStatus(merge, header.GetContainerId(), choices.enable);
        } else if (choices.force) {
            SetStatus(merge, header.GetContainerId(), isGiven ? choices.enable : header.IsEnabled());
        }
    }
}

void ImagineWanted(SettingsMerge& merge, const std::vector<DesiredPolicy>& wanted, const Pruning& pruning) {
    std::set<String_t> kept;
    for (const DesiredPolicy& policy : wanted) {
        if (!IsOfSettings(policy.header)) continue;
        Install(merge, policy.file);
        kept.insert(policy.header.GetContainerId());
        if (!FollowsCluster(policy.header)) {
            SetStatus(merge, policy.header.GetContainerId(), policy.header.IsEnabled());
        }
    }
    std::set<String_t> leaving;
    for (int i = 0; pruning.IsWanted() && i < merge.GetPolicies().GetCount(); ++i) {
        const PolicyHeader header = merge.GetPolicies().GetPolicyHeader(i);
        if (pruning.Means(header) && kept.count(header.GetContainerId()) == 0) leaving.insert(header.GetContainerId());
    }
    for (const String_t& id : leaving) merge.Remove(id);
}

String_t SettingsIdsAmong(const PolicyContainer& policies) {
    String_t ids;
    for (int i = 0; i < policies.GetCount(); ++i) {
        const PolicyHeader header = policies.GetPolicyHeader(i);
        if (IsOfSettings(header)) ids = ids + (ids.IsEmpty() ? "" : " ") + header.GetContainerId();
    }
    return ids;
}

}  // namespace lumpolicy
