/// @file
/// Taking settings away.
#pragma once

#include <functional>

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace LumConfPar {

/// Removes local settings from a database, in one update, once: all or nothing, and who follows the configuration is
/// reported once. What policies say of them counts again then. What is not there is no failure, and without a name
/// nothing changes. The object is used up only when an operation succeeds. One thread at a time.
class SettingsClear {
public:
    /// For one namespace.
    /// @param package  names the database; null or empty for the node's own
    SettingsClear(const LumPalStr::String_t& package, const LumPalStr::String_t& nameSpace);
    /// For every namespace of a group; one namespace is a group of one.
    /// @param group  shared with the caller, who leaves it alone meanwhile
    SettingsClear(const LumPalStr::String_t& package, const LumPalConfig::ConfigGroup_t& group);

    // All: @throws LumPalMsg::IllegalStateError_t SettingsClearUsed when the object is used up;
    // LumPalMsg::IllegalArgumentError_t for
    //      a package that is no plain file name, or a name that is empty or holds control characters;
    //      LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t

    /// Removes the attribute of this name from each of the namespaces.
    void ClearAttr(const LumPalStr::String_t& name);
    /// Removes the attributes that the group names, each from its namespace; their values do not matter.
    void ClearAttributes();
    /// Removes the namespaces, whatever attributes the group names.
    void ClearNamespace();

private:
    /// Remembers what goes of one namespace. @return whether that is anything
    using Step = std::function<bool(LumPalConfig::ConfigUpdate_t&, const LumPalConfig::Configuration_t&)>;
    void Clear(const Step& remember);

    const LumPalStr::String_t package;
    const LumPalConfig::ConfigGroup_t group;
    bool initialized = true;
};

}  // namespace LumConfPar
