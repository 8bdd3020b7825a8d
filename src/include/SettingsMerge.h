/// @file
/// What the settings policies of a node come to, and where each value comes from, without changing anything.
///
///     LumConfPar::SettingsMerge merge;                      // the policies that are installed
///     merge.Disable("1a2b3c4d-0004-4000-8000-00000000a004");  // as if it were so
///     LumConfPar::MergedSettings merged = merge.Merge();
///     for (const auto& origin : merged.GetOrigins("conf.server", "AUDIT_LOGGING")) ...  // the last one wins
#pragma once

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "Export.h"
#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "PolicyContainer.h"

namespace LumConfPar {

/// A value that an enabled settings policy gives to an attribute, and where it stands.
struct LUMCONF_API SettingOrigin {
    LumPalStr::String_t policyName;
    LumPalStr::String_t policyId;
    LumPalStr::String_t dataFile;  ///< its name, without a folder
    LumPalStr::String_t value;     ///< as it is in force, without escapes
};

/// The outcome of a merge. A value, but copies share the group.
class LUMCONF_API MergedSettings {
public:
    /// What the node's policy settings would hold; local settings, which go before, are not in it.
    const LumPalConfig::ConfigGroup_t& GetGroup() const noexcept { return group; }
    /// Who gives a value to the attribute, in the order of the merge: the last one wins, the others are overridden.
    /// Empty when nobody does. A data file that sets it twice counts once, with its last value.
    std::vector<SettingOrigin> GetOrigins(const LumPalStr::String_t& nameSpace, const LumPalStr::String_t& name) const;

private:
    friend class SettingsMerge;
    using Attribute = std::pair<LumPalStr::String_t, LumPalStr::String_t>;  ///< namespace and name

    LumPalConfig::ConfigGroup_t group;
    std::map<Attribute, std::vector<SettingOrigin>> origins;
};

/// The settings policies of the node in memory, as its daemon would merge them: enabled policies by ascending name,
/// data files in the order of the header, each value over the earlier ones. Changes made here are made to this memory
/// only: neither the store nor the settings files nor a running daemon see them. One thread at a time.
class LUMCONF_API SettingsMerge {
public:
    /// Reads the policies of the type "configsettings" that are installed below the present root. A data file that
    /// cannot be read is left out, as the daemon does, and reported by GetProblems. Signatures that fail do not matter.
    /// @throws LumConf::PolicyFileException when a header cannot be read: then the daemon merges nothing either;
    ///         LumPalMsg::RuntimeException_t 58 when the store cannot be read
    SettingsMerge();
    SettingsMerge(const SettingsMerge&) = delete;
    SettingsMerge& operator=(const SettingsMerge&) = delete;
    ~SettingsMerge();

    /// What was left out: a warning 207 for each data file, with the reason in its details.
    const LumPalMsg::MessageList_t& GetProblems() const noexcept;
    /// The policies that are here, enabled and disabled. To be read only; a handle on this object's own container.
    LumConf::PolicyContainer GetPolicies() const;

    /// @param ids  blank-separated ids, in any case; all that are there change
    /// @throws LumConf::PolicyNotFoundError 60 (Remove: 61) for each one that is not there
    void Enable(const LumPalStr::String_t& ids);
    void Disable(const LumPalStr::String_t& ids);
    void Remove(const LumPalStr::String_t& ids);
    /// Takes a policy in as an install without options does: it replaces the one with its id, or with its name, and
    /// keeps that one's status; a new one has the status of its document. Owners and versions are not compared.
    /// @param headerFile  the header document; its data files lie beside it
    /// @throws LumPalMsg::IllegalArgumentError_t for a policy of another type, 71 for a name with "=";
    ///         what LumConf::PolicyHeader::Read throws; LumPalIo::FileNotFoundException_t 18 and
    ///         LumPalIo::IOException_t 19 for a data file. Then nothing has changed
    void Install(const LumPalIo::File_t& headerFile);

    /// @throws LumPalMsg::RuntimeException_t 208 for a data file that is no settings file, with the policy, the file
    ///         and the line in its details: then the daemon keeps the settings that it has
    MergedSettings Merge() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumConfPar
