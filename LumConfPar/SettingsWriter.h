/// @file
/// Writing local settings, and the settings of policies.
#pragma once

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace LumConfPar {

/// Writes once. The object is used up only when an operation succeeds. One thread at a time; of WritePolicySettings
/// for one database there must be one at a time on the node.
class SettingsWriter {
public:
    /// @param package  names the database; null or empty for the node's own
    /// @param group    what is written; shared with the caller, who leaves it alone meanwhile
    SettingsWriter(const LumPalStr::String_t& package, const LumPalConfig::ConfigGroup_t& group);

    /// Sets every attribute of the group in the local settings, all or nothing; the others stay. They are on the disk
    /// then. A group without configurations changes nothing.
    /// @throws LumPalMsg::IllegalStateError_t SettingsWriterUsed when the object is used up;
    ///         LumPalMsg::IllegalArgumentError_t for a package that is no plain file name, or a name that is empty or
    ///         holds control characters; LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
    void WriteLocalSettings();

    /// Makes the group the policy settings, in place of all that policies said before. Writes it aside, compares it
    /// with the settings in force byte for byte, and wakes nobody when they are equal. A comparison that fails
    /// (SettingsCompareError, traced) counts as a difference. What is in force then is on the disk. The settings in
    /// force stay when this fails, but when only the folder cannot be flushed the new ones are in force.
    /// @throws LumPalMsg::IllegalStateError_t SettingsWriterUsed when the object is used up; LumPalIo::IOException_t
    ///         SettingsFolderNotCreated for a settings directory that cannot be made, SettingsFileNotOpened for a new
    ///         file that cannot be opened, SettingsFileNotWritten for one that cannot be written or taken over;
    ///         LumPalMsg::IllegalArgumentError_t as WriteLocalSettings
    void WritePolicySettings();

private:
    void TestUnused() const;

    const LumPalStr::String_t package;
    const LumPalConfig::ConfigGroup_t group;
    bool initialized = true;
};

}  // namespace LumConfPar
