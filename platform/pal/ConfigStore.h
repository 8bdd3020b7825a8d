/// @file
/// The databases on disk: where they are, reading them cheaply, changing them safely.
#pragma once

#include <deque>
#include <memory>
#include <optional>

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace LumPalConfig {

inline constexpr char LocalFile[] = "local_settings.ini";
inline constexpr char PolicyFile[] = "policy_settings.ini";
inline constexpr char NewPolicyFile[] = "new_policy_settings.ini";

/// The folder of a database, with a separator at its end; below the root as it is set now.
/// @param package  null or empty for the default database
/// @throws LumPalMsg::IllegalArgumentError_t for a package that is no plain file name
LumPalStr::String_t DatabaseFolder(const LumPalStr::String_t& package);

/// The whole database, local settings over policy settings. It may be shared with other threads:
/// nobody changes it. Two looks at the file system when nothing has changed since the last call; read anew each time
/// while the process has hardly any descriptors left.
/// @throws LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
std::shared_ptr<const ConfigGroup_t> LoadDatabase(const LumPalStr::String_t& folder);

/// What one of its sources says; read anew, the caller's own. Throws as above.
ConfigGroup_t LoadSource(const LumPalStr::String_t& folder, ConfigSource source);

/// The namespace in the group, or an empty one; the caller's own copy.
Configuration_t CopyOfNamespace(const ConfigGroup_t& group, const LumPalStr::String_t& nameSpace);

/// One change of the local settings.
struct ConfigChange {
    enum class Kind { Set, ClearAttr, ClearNamespace };
    Kind kind;
    LumPalStr::String_t nameSpace;
    LumPalStr::String_t name;                 ///< of what is cleared
    std::optional<Configuration_t> settings;  ///< of what is set
};

/// Makes the changes, of which a request may bring very many, in their order, under the folder's lock, on the file as
/// it is then.
/// @throws LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t; the old file stands then
void ChangeLocalSettings(const LumPalStr::String_t& folder, const std::deque<ConfigChange>& changes);

/// Takes newly written policy settings over, if there are any; they are read first, and stay aside
/// when they are broken. Throws as ChangeLocalSettings.
void TakePolicySettingsOver(const LumPalStr::String_t& folder);

/// See ConfigUpdate_t::RemoveLeftAside.
void TidyDatabases() noexcept;

}  // namespace LumPalConfig
