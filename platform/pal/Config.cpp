// LumPalConfig.h: namespaces, configurations and their groups.
#include "LumPalConfig.h"

#include <atomic>
#include <memory>
#include <string_view>
#include <utility>

#include "ConfigValues.h"
#include "LumPalMsg.h"

namespace LumPalConfig {

using LumPalStr::String_t;

/// Copies share the values until one of them is changed: a request may bring hundreds of thousands.
struct Configuration_t::Impl {
    using Map = IndexedMap<String_t>;

    String_t nameSpace;

    const Map& Values() const {
        static const Map& none = *new Map;  // never destroyed: threads read configurations to the end
        return stored ? stored->map : none;
    }
    Map& Changeable() {
        if (!stored || stored->isShared) {
            auto own = std::make_shared<Stored>();
            if (stored) own->map = stored->map;
            stored = std::move(own);
        }
        return stored->map;
    }
    void Share(const Impl& other) noexcept {
        if (other.stored) other.stored->isShared = true;
        stored = other.stored;
    }

private:
    struct Stored {
        Map map;
        std::atomic<bool> isShared{false};  ///< from the first copy on, for ever
    };
    std::shared_ptr<Stored> stored;  ///< null without values: a group may hold very many namespaces
};

Configuration_t::Configuration_t() : impl(std::make_shared<Impl>()) {}
Configuration_t::Configuration_t(const String_t& nameSpace) : Configuration_t() {
    impl->nameSpace = nameSpace;
}

String_t Configuration_t::GetNamespace() const {
    return impl->nameSpace;
}

String_t Configuration_t::GetValue(const String_t& name) const {
    const auto found = impl->Values().find(name);
    return found == impl->Values().end() ? String_t(u"", 0) : found->second;
}

String_t Configuration_t::GetAttrValue(const String_t& name) const {
    return GetValue(name);
}

bool Configuration_t::GetBool(const String_t& name) const {
    const String_t value = GetValue(name);
    for (const char* const word : {"true", "yes", "on", "1"}) {
        if (LumPalStr::Compare(value, String_t(word), true) == 0) return true;
    }
    return false;
}

int Configuration_t::GetInt(const String_t& name) const {
    return GetValue(name).ToInt();
}
bool Configuration_t::HasAttr(const String_t& name) const {
    return impl->Values().find(name) != impl->Values().end();
}
int Configuration_t::GetAttrCount() const {
    return static_cast<int>(impl->Values().size());
}

bool Configuration_t::GetAttr(int index, String_t& name, String_t& value) const {
    if (index < 0 || index >= GetAttrCount()) return false;
    const auto found = impl->Values().find_by_order(static_cast<std::size_t>(index));
    name = found->first;
    value = found->second;
    return true;
}

void Configuration_t::SetAttrValue(const String_t& name, const String_t& value) {
    impl->Changeable()[name] = value;
}
void Configuration_t::SetAttrs(const Configuration_t& other) {
    if (impl == other.impl) return;
    if (impl->Values().empty()) return impl->Share(*other.impl);
    Impl::Map& values = impl->Changeable();
    for (const auto& [name, value] : other.impl->Values()) values[name] = value;
}
void Configuration_t::ClearAttr(const String_t& name) {
    impl->Changeable().erase(name);
}

struct ConfigGroup_t::Impl {
    IndexedMap<Configuration_t> configs;
};

ConfigGroup_t::ConfigGroup_t() : impl(std::make_shared<Impl>()) {}

int ConfigGroup_t::GetConfigCount() const {
    return static_cast<int>(impl->configs.size());
}

Configuration_t ConfigGroup_t::GetConfig(int index) const {
    if (index < 0 || index >= GetConfigCount()) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("There is no configuration %1.") << index);
    }
    return impl->configs.find_by_order(static_cast<std::size_t>(index))->second;
}

Configuration_t ConfigGroup_t::GetConfig(const String_t& nameSpace) const {
    const auto found = impl->configs.find(nameSpace);
    if (found != impl->configs.end()) return found->second;
    const Configuration_t made(nameSpace);
    impl->configs.insert(std::make_pair(nameSpace, made));
    return made;
}

bool ConfigGroup_t::HasConfig(const String_t& nameSpace) const {
    return impl->configs.find(nameSpace) != impl->configs.end();
}

void ConfigGroup_t::ClearConfig(const String_t& nameSpace) {
    impl->configs.erase(nameSpace);
}

void ConfigGroup_t::MoveIn(ConfigGroup_t& other) {
    if (impl == other.impl) return;
    for (const auto& [nameSpace, configuration] : other.impl->configs) {
        const auto [place, isNew] = impl->configs.insert(std::make_pair(nameSpace, configuration));
        if (!isNew) place->second.SetAttrs(configuration);
    }
    other.Reset();
}

void ConfigGroup_t::Reset() {
    impl->configs.clear();
}

ChangedConfiguration_t::ChangedConfiguration_t() : impl(std::make_shared<Impl>()) {}
ChangedConfiguration_t::ChangedConfiguration_t(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}
bool ChangedConfiguration_t::HasChanged(const String_t& attribute) const {
    return impl->names.count(attribute) != 0;
}
int ChangedConfiguration_t::GetCount() const {
    return static_cast<int>(impl->names.size());
}

ConfigChangeHandler_i::~ConfigChangeHandler_i() = default;

void SetAll(const Configuration_t& from, Configuration_t to) {
    to.SetAttrs(from);
}

void SetAll(const ConfigGroup_t& from, const ConfigGroup_t& to) {
    for (int i = 0; i < from.GetConfigCount(); ++i) {
        const Configuration_t config = from.GetConfig(i);
        SetAll(config, to.GetConfig(config.GetNamespace()));
    }
}

Configuration_t CopyOf(const Configuration_t& configuration) {
    const Configuration_t copy(configuration.GetNamespace());
    SetAll(configuration, copy);
    return copy;
}

std::set<String_t> Difference(const Configuration_t& before, const Configuration_t& after) {
    std::set<String_t> names;
    String_t name, value;
    for (int i = 0; before.GetAttr(i, name, value); ++i) {
        if (!after.HasAttr(name) || after.GetValue(name) != value) names.insert(name);
    }
    for (int i = 0; after.GetAttr(i, name, value); ++i) {
        if (!before.HasAttr(name)) names.insert(name);
    }
    return names;
}

}  // namespace LumPalConfig
