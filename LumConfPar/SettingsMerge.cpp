#include "SettingsMerge.h"

#include <optional>

#include "Messages.h"
#include "Names.h"
#include "PolicyContainerImpl.h"
#include "PolicyData.h"
#include "SettingsMemory.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalArray::CharArray_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

struct SettingsMerge::Impl {
    void TakeInstalled(const PolicyHeader& header);
    std::optional<PolicyHeader> ReplacedBy(const PolicyHeader& header) const;
    void Forget(const PolicyHeader& header);

    PolicyContainer policies;
    SettingsMemory memory;
    LumPalMsg::MessageList_t problems;
};

namespace {

PolicyHeader ReadSettingsHeader(const File_t& file) {
    const PolicyHeader header = PolicyHeader::Read(file);
    if (header.GetTypeName() == names::SettingsTypeName) return header;
    Raise<LumPalMsg::IllegalArgumentError_t>(msg::NoSettingsPolicy, file.GetAbsolutePath(), header.GetTypeName(),
                                             names::SettingsTypeName);
}

std::vector<SettingsData> ReadDataBeside(const PolicyHeader& header, const File_t& headerFile) {
    const File_t folder = File_t(headerFile.GetAbsolutePath()).GetParentFile();
    std::vector<SettingsData> data;
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        data.push_back({header.GetDataFile(i), PolicyData::Read(*header.GetImpl(), i, folder)});
    }
    return data;
}

/// Calls for each attribute of a group with namespace, name and value.
template <class Call>
void ForEachAttribute(const ConfigGroup_t& group, Call&& call) {
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const Configuration_t configuration = group.GetConfig(i);
        String_t name, value;
        for (int n = 0; configuration.GetAttr(n, name, value); ++n) call(configuration.GetNamespace(), name, value);
    }
}

}  // namespace

std::vector<SettingOrigin> MergedSettings::GetOrigins(const String_t& nameSpace, const String_t& name) const {
    const auto found = origins.find({nameSpace, name});
    return found == origins.end() ? std::vector<SettingOrigin>() : found->second;
}

void SettingsMerge::Impl::TakeInstalled(const PolicyHeader& header) {
    const String_t id = header.GetContainerId();
    const auto read = [](const PolicyHeader& from, int index, CharArray_t& data) { from.GetData(index, data); };
    memory.Insert(header.GetName(), id);
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        try {
            memory.InsertData(id, ReadSettingsData(read, header, i));
        } catch (const LumPalMsg::RuntimeException_t& e) {
            problems.Add(Make(msg::SettingsDataIgnored, header.GetDataFile(i), e));
        }
    }
}

std::optional<PolicyHeader> SettingsMerge::Impl::ReplacedBy(const PolicyHeader& header) const {
    PolicyContainerImpl::HeaderPtr found = policies.GetImpl()->Find(header.GetContainerId());
    if (!found) found = policies.GetImpl()->Find(header.GetName(), header.GetTypeName());
    return found ? std::optional(PolicyHeader(found.Get())) : std::nullopt;
}

void SettingsMerge::Impl::Forget(const PolicyHeader& header) {
    policies.Remove(header.GetContainerId());
    memory.Erase(header.GetContainerId());
}

SettingsMerge::SettingsMerge() : impl(std::make_unique<Impl>()) {
    impl->policies.CheckPolicy(PolicyContainer::Options().SetPolicyTypeName(names::SettingsTypeName));
    for (int i = 0; i < impl->policies.GetCount(); ++i) impl->TakeInstalled(impl->policies.GetPolicyHeader(i));
}

SettingsMerge::~SettingsMerge() = default;

const LumPalMsg::MessageList_t& SettingsMerge::GetProblems() const noexcept {
    return impl->problems;
}

PolicyContainer SettingsMerge::GetPolicies() const {
    return impl->policies;
}

void SettingsMerge::Enable(const String_t& ids) {
    impl->policies.Enable(ids);
}

void SettingsMerge::Disable(const String_t& ids) {
    impl->policies.Disable(ids);
}

void SettingsMerge::Remove(const String_t& ids) {
    // A policy that the container no longer holds is passed over by the merge.
    impl->policies.Remove(ids);
}

void SettingsMerge::Install(const File_t& headerFile) {
    const PolicyHeader header = ReadSettingsHeader(headerFile);
    std::vector<SettingsData> data = ReadDataBeside(header, headerFile);
    const std::optional<PolicyHeader> replaced = impl->ReplacedBy(header);
    if (replaced) {
        if (replaced->IsEnabled()) {
            header.SetEnabled();
        } else {
            header.SetDisabled();
        }
        impl->Forget(*replaced);
    }
    impl->policies.Insert(header.GetImpl());
    impl->memory.Erase(header.GetContainerId());
    impl->memory.Insert(header.GetName(), header.GetContainerId());
    for (SettingsData& file : data) impl->memory.InsertData(header.GetContainerId(), std::move(file));
}

MergedSettings SettingsMerge::Merge() const {
    MergedSettings merged;
    const auto take = [&merged](const PolicyHeader& header, const SettingsData& data) {
        ConfigGroup_t own;
        LoadSettingsData(header, data, own);
        LoadSettingsData(header, data, merged.group);
        ForEachAttribute(own, [&](const String_t& nameSpace, const String_t& name, const String_t& value) {
            merged.origins[{nameSpace, name}].push_back({header.GetName(), header.GetContainerId(), data.name, value});
        });
    };
    impl->memory.Merge(impl->policies, take);
    return merged;
}

}  // namespace LumConfPar
