#include "SettingsMemory.h"

#include <iterator>
#include <optional>
#include <utility>

#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "LumSecCore.h"
#include "Messages.h"
#include "PolicyContainerImpl.h"
#include "Trace.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

/// None for a policy that the container no longer holds.
std::optional<PolicyHeader> Find(const PolicyContainer& headers, const String_t& id) {
    const PolicyContainerImpl::HeaderPtr header = headers.GetImpl()->Find(id);
    if (header) return PolicyHeader(header.Get());
    LUMCONF_TRACE(trace::Config, Make(msg::SettingsIdNotFound, Make(msg::PolicyIdNotInCache, id.ToLower()))
                                     .Format(LumPalMsg::Text | LumPalMsg::Details));
    return std::nullopt;
}

}  // namespace

void SettingsMemory::Insert(const String_t& name, const String_t& id) {
    nameToId.emplace(name, id);
    idToName.emplace(id, name);
}

void SettingsMemory::InsertData(const String_t& id, SettingsData file) {
    data.emplace(id, std::move(file));
}

void SettingsMemory::Erase(const String_t& id) {
    const auto [first, end] = idToName.equal_range(id);
    for (auto entry = first; entry != end; ++entry) EraseName(entry->second, id);
    idToName.erase(first, end);
    data.erase(id);
}

void SettingsMemory::EraseName(const String_t& name, const String_t& id) {
    const auto [first, end] = nameToId.equal_range(name);
    for (auto entry = first; entry != end;) entry = entry->second == id ? nameToId.erase(entry) : std::next(entry);
}

std::vector<String_t> SettingsMemory::ForEachEnabled(const PolicyContainer& headers, const Visitor& visit) const {
    std::vector<String_t> orphans;
    for (const auto& [name, id] : nameToId) {
        const std::optional<PolicyHeader> header = Find(headers, id);
        if (!header) orphans.push_back(id);
        if (!header || !header->IsEnabled()) continue;
        const auto [first, end] = data.equal_range(id);
        for (auto file = first; file != end; ++file) visit(*header, file->second);
    }
    return orphans;
}

void SettingsMemory::Merge(const PolicyContainer& headers, const Visitor& visit) {
    try {
        for (const String_t& id : ForEachEnabled(headers, visit)) Erase(id);
    } catch (const LumPalCfgFile::SyntaxException_t& e) {
        throw Because<LumPalMsg::RuntimeException_t>(msg::SettingsMergeError, e);
    }
}

SettingsData ReadSettingsData(const SettingsMemory::Reader& read, const PolicyHeader& header, int index) {
    SettingsData data{header.GetDataFile(index), {}};
    try {
        read(header, index, data.content);
    } catch (const LumSecCore::SecCoreException& e) {
        // Kept: settings are taken also when nobody proves who signed them; the content is there all the same.
        LUMCONF_TRACE(trace::Config,
                      Make(msg::SettingsSecurityIgnored, e).Format(LumPalMsg::Text | LumPalMsg::Details));
    }
    return data;
}

void LoadSettingsData(const PolicyHeader& header, const SettingsData& data, LumPalConfig::ConfigGroup_t& group) {
    const auto load = [&](const String_t& source) {
        LumPalCfgFile::ConfigReader_t::Load(LumPalIo::CharArrayInputStream_t::Over(data.content), group, source);
    };
    try {
        load(String_t());
    } catch (const LumPalCfgFile::SyntaxException_t&) {
        // Once more for its name: a name for each of the many good files would take longer than all the bad ones.
        load(data.name + " of policy " + header.GetName() + " (" + header.GetContainerId() + ")");
    }
}

}  // namespace LumConfPar
