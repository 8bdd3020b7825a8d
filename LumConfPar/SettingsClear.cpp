#include "SettingsClear.h"

#include "LumPalConfig.h"
#include "Messages.h"
#include "SettingsPackage.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalConfig::ConfigUpdate_t;
using LumPalStr::String_t;

SettingsClear::SettingsClear(const String_t& package, const String_t& nameSpace)
    : package(package), nameSpace(nameSpace) {}

void SettingsClear::TestUnused() const {
    if (!initialized) Raise<LumPalMsg::IllegalStateError_t>(msg::SettingsClearUsed);
}

void SettingsClear::ClearAttr(const String_t& name) {
    TestUnused();
    ConfigUpdate_t update(NotNull(package));
    update.ClearAttr(nameSpace, name);
    update.Apply();
    initialized = false;
}

void SettingsClear::ClearNamespace() {
    TestUnused();
    ConfigUpdate_t update(NotNull(package));
    update.ClearNamespace(nameSpace);
    update.Apply();
    initialized = false;
}

}  // namespace LumConfPar
