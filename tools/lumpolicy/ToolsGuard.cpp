#include "lumpolicy/ToolsGuard.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "LumPalKeys.h"
#include "common/Arguments.h"
#include "common/Outcome.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumConfPar::SettingsMerge;
using LumPalStr::String_t;
using lumtools::Text;

namespace {

constexpr const char* kKeys[]{LumPalKeys::TargetPortKey, LumPalKeys::ServerPortKey, LumPalKeys::BindAddressKey,
                              LumPalKeys::CertInstalledKey, LumPalKeys::CoreIdKey};

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

bool MayConcernTools(const std::string& file, const PolicyHeader& header) {
    const auto isNamed = [](const std::string& text, const char* key) { return text.find(key) != text.npos; };
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        const std::filesystem::path data = std::filesystem::path(file).replace_filename(header.GetDataFile(i).ToUtf8());
        std::ifstream in(data, std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(in)), {});
        if (std::any_of(std::begin(kKeys), std::end(kKeys), [&](const char* key) { return isNamed(text, key); }))
            return true;
    }
    return false;
}

void ImagineInstall(SettingsMerge& merge, const std::string& file, const InstallChoices& choices) {
    const PolicyHeader header = PolicyHeader::Read(LumPalIo::File_t(Text(file)));
    if (!IsOfSettings(header)) return;
    const bool isNew = Install(merge, file), isGiven = choices.enable || choices.disable;
    if (choices.forceState || (isNew && isGiven)) SetStatus(merge, header.GetContainerId(), choices.enable);
}

void ImagineInstalls(SettingsMerge& merge, const std::vector<std::string>& files, const InstallChoices& choices) {
    // The node refuses what is wrong, and takes the others.
    for (const std::string& file : files) lumtools::Attempt([&] { ImagineInstall(merge, file, choices); });
}

void ImagineWanted(SettingsMerge& merge, const std::vector<DesiredPolicy>& wanted, const Pruning& pruning) {
    std::set<String_t> kept;
    for (const DesiredPolicy& policy : wanted) {
        if (!IsOfSettings(policy.header)) continue;
        kept.insert(policy.header.GetContainerId());
        lumtools::Attempt([&] {
            Install(merge, policy.file);
            if (!FollowsCluster(policy.header))
                SetStatus(merge, policy.header.GetContainerId(), policy.header.IsEnabled());
        });
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
