/// @file
/// Where the policy worker takes the changes of settings policies.
#pragma once

#include <functional>
#include <memory>

#include "LumPalStr.h"

namespace LumConfPar {

/// Works on settings policies. Used by the worker's thread alone; ids are separated by blanks. A failure that leaves as
/// LumPalMsg::Exception_t ends only the one operation.
class SettingsSink {
public:
    virtual ~SettingsSink();
    /// Takes in what the store holds. Called once, before anything else.
    virtual void Start() = 0;
    virtual void Install(const LumPalStr::String_t& ids) = 0;
    virtual void Remove(const LumPalStr::String_t& ids) = 0;
    virtual void Enable(const LumPalStr::String_t& ids) = 0;
    virtual void Disable(const LumPalStr::String_t& ids) = 0;
};

/// Makes a sink: once at the start, and anew for each reload.
using SettingsSinkFactory = std::function<std::unique_ptr<SettingsSink>()>;

}  // namespace LumConfPar
