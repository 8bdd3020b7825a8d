/// @file
/// What a SettingsForwarder handle refers to.
#pragma once

#include "LumPalRef.h"
#include "MessageForwarder.h"
#include "SettingsForwarder.h"

namespace LumConfPar {

/// Makes the group of each request and sends it. Any thread.
class SettingsForwarderImpl final : public LumPalRef::RefCounted_t {
public:
    SettingsForwarderImpl() = default;
    explicit SettingsForwarderImpl(const LumVoxMsg::Messenger& messenger) : forwarder(messenger) {}
    const LumVoxMsg::Messenger& GetVoxMessenger() const noexcept { return forwarder; }

    LumPalConfig::ConfigGroup_t Get(const LumPalStr::String_t& host, const SettingsForwarder::Options& options) const;
    void Set(const LumPalStr::String_t& host, const LumPalConfig::ConfigGroup_t& group,
             const SettingsForwarder::Options& options) const;
    void Set(const LumPalStr::String_t& host, const LumPalConfig::Configuration_t& configuration,
             const SettingsForwarder::Options& options) const;
    void Clear(const LumPalStr::String_t& host, const LumPalStr::String_t& nameSpace,
               const SettingsForwarder::Options& options) const;
    void Clear(const LumPalStr::String_t& host, const LumPalStr::String_t& nameSpace,
               const LumPalStr::String_t& attribute, const SettingsForwarder::Options& options) const;

private:
    LumPalConfig::ConfigGroup_t Send(LumConf::ConfigMode mode, const LumPalStr::String_t& host,
                                     const LumPalConfig::ConfigGroup_t& group,
                                     const SettingsForwarder::Options& options) const;

    LumConf::MessageForwarder forwarder;
};

}  // namespace LumConfPar
