// LumPalConfig.h: changing settings, and following changes.
#include <deque>
#include <utility>

#include "CfgText.h"
#include "ConfigStore.h"
#include "ConfigValues.h"
#include "ConfigWatcher.h"
#include "LumPalConfig.h"

namespace LumPalConfig {

using LumPalCfgFile::CheckName;
using LumPalStr::String_t;

ConfigNamespace_t::ConfigNamespace_t(const String_t& name) : name(name) {}

Configuration_t ConfigNamespace_t::Open() const {
    return CopyOfNamespace(*LoadDatabase(DatabaseFolder(String_t::Null())), name);
}

void ConfigNamespace_t::Register(ConfigChangeHandler_i& handler) const {
    ConfigWatcher::Get().Register(name, handler);
}
void ConfigNamespace_t::Unregister(ConfigChangeHandler_i& handler) const {
    ConfigWatcher::Get().Unregister(name, handler);
}

ConfigGroup_t ConfigBase_t::Open(const String_t& name) {
    const ConfigGroup_t group;
    SetAll(*LoadDatabase(DatabaseFolder(name)), group);
    return group;
}

ConfigGroup_t ConfigBase_t::Open(const String_t& name, ConfigSource source) {
    return LoadSource(DatabaseFolder(name), source);
}

struct ConfigUpdate_t::Impl {
    String_t folder;
    bool hasLocal = false;
    std::deque<ConfigChange> changes;
};

ConfigUpdate_t::ConfigUpdate_t(const String_t& name) : impl(std::make_unique<Impl>()) {
    impl->folder = DatabaseFolder(name);
}

ConfigUpdate_t::~ConfigUpdate_t() = default;

void ConfigUpdate_t::SetConfig(const Configuration_t& configuration) {
    const String_t nameSpace = configuration.GetNamespace();
    String_t name, value;
    CheckName(nameSpace);
    for (int i = 0; configuration.GetAttr(i, name, value); ++i) CheckName(name);
    if (configuration.GetAttrCount() > 0) {
        impl->changes.push_back({ConfigChange::Kind::Set, nameSpace, String_t(), CopyOf(configuration)});
    }
    impl->hasLocal = true;
}

void ConfigUpdate_t::ClearAttr(const String_t& nameSpace, const String_t& attribute) {
    CheckName(nameSpace);
    CheckName(attribute);
    impl->changes.push_back({ConfigChange::Kind::ClearAttr, nameSpace, attribute, {}});
    impl->hasLocal = true;
}

void ConfigUpdate_t::ClearNamespace(const String_t& nameSpace) {
    CheckName(nameSpace);
    impl->changes.push_back({ConfigChange::Kind::ClearNamespace, nameSpace, String_t(), {}});
    impl->hasLocal = true;
}

void ConfigUpdate_t::RemoveLeftAside() noexcept {
    TidyDatabases();
}

void ConfigUpdate_t::Apply() {
    if (impl->hasLocal)
        ChangeLocalSettings(impl->folder, impl->changes);
    else
        TakePolicySettingsOver(impl->folder);
    impl->changes.clear();
    impl->hasLocal = false;
}

}  // namespace LumPalConfig
