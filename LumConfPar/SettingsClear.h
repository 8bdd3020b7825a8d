/// @file
/// Taking settings away.
#pragma once

#include "LumPalStr.h"

namespace LumConfPar {

/// Removes one attribute, or one namespace, from the local settings of a database, once; what policies say of it counts
/// again then. What is not there is no failure. The object is used up only when an operation succeeds. One thread at a
/// time.
class SettingsClear {
public:
    /// @param package  names the database; null or empty for the node's own
    SettingsClear(const LumPalStr::String_t& package, const LumPalStr::String_t& nameSpace);

    /// Both: @throws LumPalMsg::IllegalStateError_t 187 when it is used up; LumPalMsg::IllegalArgumentError_t for a
    ///         package that is no plain file name, or a name that is empty or holds control characters;
    ///         LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
    void ClearAttr(const LumPalStr::String_t& name);
    void ClearNamespace();

private:
    void TestUnused() const;

    const LumPalStr::String_t package, nameSpace;
    bool initialized = true;
};

}  // namespace LumConfPar
