#include "lumsettings/NodeSettings.h"

namespace lumsettings {

using LumPalConfig::ConfigBase_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigSource;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

Value Find(const ConfigGroup_t& group, const Setting& setting) {
    const auto& [nameSpace, name] = setting;
    if (!group.HasConfig(nameSpace) || !group.GetConfig(nameSpace).HasAttr(name)) return {};
    return group.GetConfig(nameSpace).GetValue(name);
}

void Collect(const ConfigGroup_t& group, std::set<Setting>& settings) {
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const Configuration_t configuration = group.GetConfig(i);
        String_t name, value;
        for (int j = 0; configuration.GetAttr(j, name, value); ++j)
            settings.insert({configuration.GetNamespace(), name});
    }
}

NodeSettings::NodeSettings()
    : local(ConfigBase_t::Open("", ConfigSource::Local)), policy(ConfigBase_t::Open("", ConfigSource::Policy)) {}

Value NodeSettings::InForce(const Setting& setting) const {
    const Value own = Find(local, setting);
    return own ? own : Find(policy, setting);
}

}  // namespace lumsettings
