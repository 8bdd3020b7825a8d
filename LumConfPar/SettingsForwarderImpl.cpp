#include "SettingsForwarderImpl.h"

#include "Names.h"

namespace LumConfPar {

using LumConf::ConfigMode;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using Options = SettingsForwarder::Options;

ConfigGroup_t SettingsForwarderImpl::Send(ConfigMode mode, const String_t& host, const ConfigGroup_t& group,
                                          const Options& options) const {
    return forwarder.SendConfig(LumConf::names::ConfigOpMethod, LumConf::RequestKind::Configuration, mode, host,
                                options.GetTargetID(), options.GetLUMResourceGroup(), group);
}

ConfigGroup_t SettingsForwarderImpl::Get(const String_t& host, const Options& options) const {
    return Send(ConfigMode::Get, host, ConfigGroup_t(), options);
}

void SettingsForwarderImpl::Set(const String_t& host, const ConfigGroup_t& group, const Options& options) const {
    Send(ConfigMode::Set, host, group, options);
}

void SettingsForwarderImpl::Set(const String_t& host, const Configuration_t& configuration,
                                const Options& options) const {
    const ConfigGroup_t group;
    Configuration_t copy = group.GetConfig(configuration.GetNamespace());
    String_t name, value;
    for (int i = 0; configuration.GetAttr(i, name, value); ++i) copy.SetAttrValue(name, value);
    Set(host, group, options);
}

void SettingsForwarderImpl::Clear(const String_t& host, const String_t& nameSpace, const Options& options) const {
    const ConfigGroup_t group;
    group.GetConfig(nameSpace);
    Send(ConfigMode::ClearNamespace, host, group, options);
}

void SettingsForwarderImpl::Clear(const String_t& host, const String_t& nameSpace, const String_t& attribute,
                                  const Options& options) const {
    const ConfigGroup_t group;
    // Kept: a node clears what is named, whatever its value; this one shows what is meant.
    group.GetConfig(nameSpace).SetAttrValue(attribute, "DELETE_THIS_ATTRIBUTE");
    Send(ConfigMode::ClearAttribute, host, group, options);
}

}  // namespace LumConfPar
