#include "SettingsForwarder.h"

#include "SettingsForwarderImpl.h"

namespace LumConfPar {

using LumPalArray::CharArray_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

String_t Text(const CharArray_t& utf8) {
    return String_t::FromUtf8(utf8.View());
}

}  // namespace

SettingsForwarder::SettingsForwarder() : impl(new SettingsForwarderImpl) {
    impl->AddRef();
}

SettingsForwarder::SettingsForwarder(const LumVoxMsg::Messenger& messenger)
    : impl(new SettingsForwarderImpl(messenger)) {
    impl->AddRef();
}

SettingsForwarder::SettingsForwarder(const SettingsForwarder& other) : impl(other.impl) {
    impl->AddRef();
}

SettingsForwarder& SettingsForwarder::operator=(const SettingsForwarder& other) {
    other.impl->AddRef();
    impl->Release();
    impl = other.impl;
    return *this;
}

SettingsForwarder::~SettingsForwarder() {
    impl->Release();
}

const LumVoxMsg::Messenger& SettingsForwarder::GetVoxMessenger() const {
    return impl->GetVoxMessenger();
}

ConfigGroup_t SettingsForwarder::Get(const String_t& host) const {
    return Get(host, Options());
}

ConfigGroup_t SettingsForwarder::Get(const String_t& host, const Options& options) const {
    return impl->Get(host, options);
}

Configuration_t SettingsForwarder::Get(const String_t& host, const CharArray_t& nameSpace) const {
    return Get(host, nameSpace, Options());
}

Configuration_t SettingsForwarder::Get(const String_t& host, const CharArray_t& nameSpace,
                                       const Options& options) const {
    return Get(host, options).GetConfig(Text(nameSpace));
}

void SettingsForwarder::Set(const String_t& host, const ConfigGroup_t& group) const {
    Set(host, group, Options());
}

void SettingsForwarder::Set(const String_t& host, const ConfigGroup_t& group, const Options& options) const {
    impl->Set(host, group, options);
}

void SettingsForwarder::Set(const String_t& host, const Configuration_t& configuration) const {
    Set(host, configuration, Options());
}

void SettingsForwarder::Set(const String_t& host, const Configuration_t& configuration, const Options& options) const {
    impl->Set(host, configuration, options);
}

void SettingsForwarder::Clear(const String_t& host, const CharArray_t& nameSpace) const {
    Clear(host, nameSpace, Options());
}

void SettingsForwarder::Clear(const String_t& host, const CharArray_t& nameSpace, const Options& options) const {
    impl->Clear(host, Text(nameSpace), options);
}

void SettingsForwarder::Clear(const String_t& host, const CharArray_t& nameSpace, const CharArray_t& attribute) const {
    Clear(host, nameSpace, attribute, Options());
}

void SettingsForwarder::Clear(const String_t& host, const CharArray_t& nameSpace, const CharArray_t& attribute,
                              const Options& options) const {
    impl->Clear(host, Text(nameSpace), Text(attribute), options);
}

}  // namespace LumConfPar
