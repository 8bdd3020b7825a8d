// SettingsForwarder::Options.
#include "SettingsForwarder.h"

namespace LumConfPar {

using LumPalStr::String_t;

struct SettingsForwarder::Options::Impl {
    String_t targetId = "";
    String_t resourceGroup = "";
};

SettingsForwarder::Options::Options() : impl(std::make_unique<Impl>()) {}

SettingsForwarder::Options::Options(const Options& other) : impl(std::make_unique<Impl>(*other.impl)) {}

SettingsForwarder::Options& SettingsForwarder::Options::operator=(const Options& other) {
    *impl = *other.impl;
    return *this;
}

SettingsForwarder::Options::~Options() = default;

SettingsForwarder::Options& SettingsForwarder::Options::SetTargetID(const String_t& id) {
    impl->targetId = id;
    return *this;
}

SettingsForwarder::Options& SettingsForwarder::Options::SetLUMResourceGroup(const String_t& name) {
    impl->resourceGroup = name;
    return *this;
}

String_t SettingsForwarder::Options::GetTargetID() const {
    return impl->targetId;
}

String_t SettingsForwarder::Options::GetLUMResourceGroup() const {
    return impl->resourceGroup;
}

}  // namespace LumConfPar
