#include "SettingsClear.h"

#include "Messages.h"
#include "SettingsPackage.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigUpdate_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

ConfigGroup_t GroupOfOne(const String_t& nameSpace) {
    const ConfigGroup_t group;
    group.GetConfig(nameSpace);
    return group;
}

}  // namespace

SettingsClear::SettingsClear(const String_t& package, const String_t& nameSpace)
    : SettingsClear(package, GroupOfOne(nameSpace)) {}

SettingsClear::SettingsClear(const String_t& package, const ConfigGroup_t& group) : package(package), group(group) {}

void SettingsClear::ClearAttr(const String_t& name) {
    Clear([&name](ConfigUpdate_t& update, const Configuration_t& configuration) {
        update.ClearAttr(configuration.GetNamespace(), name);
        return true;
    });
}

void SettingsClear::ClearAttributes() {
    Clear([](ConfigUpdate_t& update, const Configuration_t& configuration) {
        String_t name, value;
        for (int i = 0; configuration.GetAttr(i, name, value); ++i) {
            update.ClearAttr(configuration.GetNamespace(), name);
        }
        return configuration.GetAttrCount() > 0;
    });
}

void SettingsClear::ClearNamespace() {
    Clear([](ConfigUpdate_t& update, const Configuration_t& configuration) {
        update.ClearNamespace(configuration.GetNamespace());
        return true;
    });
}

void SettingsClear::Clear(const Step& remember) {
    if (!initialized) Raise<LumPalMsg::IllegalStateError_t>(msg::SettingsClearUsed);
    ConfigUpdate_t update(NotNull(package));
    bool any = false;
    for (int i = 0; i < group.GetConfigCount(); ++i) any = remember(update, group.GetConfig(i)) || any;
    // An update without changes would take over new policy settings that may be half written.
    if (any) update.Apply();
    initialized = false;
}

}  // namespace LumConfPar
