/// @file
/// The settings policies of the node, merged into its configuration.
#pragma once

#include <optional>

#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalStr.h"
#include "PolicyContainer.h"
#include "PolicyHeader.h"
#include "SettingsMemory.h"
#include "SettingsSink.h"

namespace LumConfPar {

/// Holds every installed policy of the type "configsettings" in memory, headers and data files, and after each change
/// merges the enabled ones anew and makes the outcome the node's policy settings. Nobody is woken when they stay equal.
/// Bad policies are logged in the application log and left out.
///
/// A failed merge, or a failed write, leaves the settings of the node as they were and comes out as
/// LumPalMsg::RuntimeException_t SettingsMergeError or SettingsNotWritten; the change itself stays in memory. After a
/// Start that could not read the store, the next operation starts anew instead: nothing is merged of a memory that
/// lacks policies. Each operation but Start raises LumPalMsg::IllegalStateError_t SettingsNotStarted before Start was
/// called. Ids are separated by blanks, in any case. A value, of which copies share headers and group: to begin anew,
/// assign a new one. One thread at a time.
class PolicySettings final : public SettingsSink {
public:
    PolicySettings();
    /// @param container  takes the headers; shared with the caller
    /// @param read       reads a data file, as PolicyHeader::GetData does
    PolicySettings(const LumConf::PolicyContainer& container, SettingsMemory::Reader read);

    /// Reads the store and merges.
    /// @throws LumPalIo::IOException_t 7 for a settings directory that cannot be made; LumConf::PolicyFileException
    ///         when a header cannot be read; LumPalMsg::RuntimeException_t CacheNotRead when the store cannot be read;
    ///         SettingsMergeError, SettingsNotWritten
    void Start() override;
    /// Takes new or changed policies in, the present ones of these ids go first. Ends at the first that is bad, without
    /// a merge: SettingsPoliciesNotLoaded, SettingsPolicyNotInserted or SettingsInstallDataNotLoaded in the application
    /// log.
    void Install(const LumPalStr::String_t& ids) override;
    /// An id that is not there is only traced (SettingsRemoveNotFound).
    void Remove(const LumPalStr::String_t& ids) override;
    /// Needs no file of a policy. An id that is not there is only traced (SettingsEnableNotFound), the others change.
    void Enable(const LumPalStr::String_t& ids) override;
    void Disable(const LumPalStr::String_t& ids) override;

private:
    void RequireStarted(const char* operation) const;
    void MakeSettingsDirectory();
    bool StartsAnew();
    void ReadStore();
    void InitMaps();
    std::optional<LumConf::PolicyHeader> HeaderAt(int index) const;
    int TakeIn(int index);
    bool TakeInData(int index, const LumConf::PolicyHeader& header);
    bool ReadHeaders(const LumPalStr::String_t& ids);
    LumConf::PolicyHeader SettingsHeader(const LumPalStr::String_t& id) const;
    bool InstallOne(const LumPalStr::String_t& id);
    bool InstallData(int index, const LumConf::PolicyHeader& header);
    void LoadDataFile(int index, const LumConf::PolicyHeader& header);
    void DeleteId(const LumPalStr::String_t& ids);
    void CreateConfigGroup();
    void WriteSettings();

    SettingsMemory memory;
    LumConf::PolicyContainer container;
    SettingsMemory::Reader read;
    LumPalConfig::ConfigGroup_t group;
    LumPalIo::File_t newSettingsFile;
    bool started = false;
    bool complete = false;  ///< whether the memory holds what the last start found in the store
};

/// The sinks of the node's own worker.
SettingsSinkFactory MakePolicySettings();

}  // namespace LumConfPar
