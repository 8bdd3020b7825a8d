/// @file
/// Reading a configuration database.
#pragma once

#include "LumPalConfig.h"
#include "LumPalStr.h"

namespace LumConfPar {

/// Reads once. One thread at a time.
class SettingsReader {
public:
    /// @param package  names the database; null or empty for the node's own
    explicit SettingsReader(const LumPalStr::String_t& package);

    /// All of the database: local settings over policy settings. The group is the caller's own; a database that is not
    /// there is empty. The object is used up only when this succeeds.
    /// @throws LumPalMsg::IllegalStateError_t SettingsReaderUsed when it is used up; LumPalMsg::IllegalArgumentError_t
    ///         for a package that is no plain file name; LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
    LumPalConfig::ConfigGroup_t Read();

private:
    const LumPalStr::String_t package;
    bool initialized = true;
};

}  // namespace LumConfPar
