/// @file
/// The data files of settings policies in memory, in the order in which they are merged.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "LumPalArray.h"
#include "LumPalConfig.h"
#include "LumPalStr.h"
#include "PolicyContainer.h"
#include "PolicyHeader.h"

namespace LumConfPar {

/// One data file of a settings policy.
struct SettingsData {
    LumPalStr::String_t name;
    LumPalArray::CharArray_t content;
};

/// Which policies there are by name, and what their data files hold. A value; one thread at a time.
class SettingsMemory {
public:
    using Reader = std::function<void(const LumConf::PolicyHeader&, int index, LumPalArray::CharArray_t&)>;
    using Visitor = std::function<void(const LumConf::PolicyHeader&, const SettingsData&)>;

    void Insert(const LumPalStr::String_t& name, const LumPalStr::String_t& id);
    /// Behind the data files that the policy has already.
    void InsertData(const LumPalStr::String_t& id, SettingsData data);
    /// Forgets a policy; nothing when it is not there. @param id  in lower case
    void Erase(const LumPalStr::String_t& id);

    /// Visits the data files of every enabled policy: by ascending policy name, of equal names the policy that was
    /// inserted first, and within a policy in the order of insertion. Each is to go over what the earlier ones said.
    /// @param headers  hold the policies by id; a policy that is not there is passed over with a warning
    /// SettingsIdNotFound in the
    ///                 trace, and forgotten: each new build of a policy under a new id would leave its files for good
    /// @param visit    as LoadSettingsData
    /// @throws LumPalMsg::RuntimeException_t SettingsMergeError at the first visit that raises
    ///         LumPalCfgFile::SyntaxException_t
    void Merge(const LumConf::PolicyContainer& headers, const Visitor& visit);

private:
    void EraseName(const LumPalStr::String_t& name, const LumPalStr::String_t& id);
    /// @return the ids that `headers` does not hold
    std::vector<LumPalStr::String_t> ForEachEnabled(const LumConf::PolicyContainer& headers,
                                                    const Visitor& visit) const;

    std::multimap<LumPalStr::String_t, LumPalStr::String_t> nameToId;
    std::multimap<LumPalStr::String_t, LumPalStr::String_t> idToName;  ///< the same the other way round, to erase by
    std::multimap<LumPalStr::String_t, SettingsData> data;             ///< by policy id
};

/// Reads one data file as every reader of settings policies does: a proof that fails is traced
/// (SettingsSecurityIgnored), and the content is taken all the same.
/// @param read  as PolicyHeader::GetData
/// @throws what `read` throws, but no LumSecCore::SecCoreException
SettingsData ReadSettingsData(const SettingsMemory::Reader& read, const LumConf::PolicyHeader& header, int index);

/// Adds what a data file says to a group; a value that is there is replaced.
/// @throws LumPalCfgFile::SyntaxException_t which names the file and its policy
void LoadSettingsData(const LumConf::PolicyHeader& header, const SettingsData& data,
                      LumPalConfig::ConfigGroup_t& group);

}  // namespace LumConfPar
