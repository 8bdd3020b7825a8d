#include "InstallOptions.h"

#include "AttributeCheck.h"
#include "InstallOptionsImpl.h"

namespace LumConf {

using LumPalStr::String_t;

void InstallOptionsImpl::AddAddAttribute(const String& name, const String& value) {
    CheckAttribute(name);
    addAttributes.emplace_back(name, value);
}

void InstallOptionsImpl::AddRemoveAttribute(const String& name, const String& value) {
    CheckAttribute(name);
    CheckAttribute(value);
    removeAttributes.emplace_back(name, value);
}

InstallOptions::InstallOptions() : impl(std::make_unique<InstallOptionsImpl>()) {}

InstallOptions::InstallOptions(const InstallOptions& other) : impl(std::make_unique<InstallOptionsImpl>(*other.impl)) {}

InstallOptions& InstallOptions::operator=(const InstallOptions& other) {
    *impl = *other.impl;
    return *this;
}

InstallOptions::~InstallOptions() = default;

InstallOptions& InstallOptions::SetNotify(bool value) {
    impl->SetNotify(value);
    return *this;
}

InstallOptions& InstallOptions::SetTargetID(const String_t& id) {
    impl->SetTargetID(id);
    return *this;
}

InstallOptions& InstallOptions::SetEnabled() {
    impl->SetState(1);
    return *this;
}

InstallOptions& InstallOptions::SetDisabled() {
    impl->SetState(0);
    return *this;
}

InstallOptions& InstallOptions::ForceState() {
    impl->SetForceState(true);
    return *this;
}

InstallOptions& InstallOptions::SetCheckVersion(bool value) {
    impl->SetCheckVersion(value);
    return *this;
}

InstallOptions& InstallOptions::SetAddCategory(const String_t& category) {
    impl->AddAddCategory(category);
    return *this;
}

InstallOptions& InstallOptions::SetRemoveCategory(const String_t& category) {
    impl->AddRemoveCategory(category);
    return *this;
}

InstallOptions& InstallOptions::SetRemoveAllCategories(bool value) {
    impl->SetRemoveAllCategories(value);
    return *this;
}

InstallOptions& InstallOptions::SetAddAttribute(const String_t& name, const String_t& value) {
    impl->AddAddAttribute(name, value);
    return *this;
}

InstallOptions& InstallOptions::SetRemoveAttribute(const String_t& name, const String_t& value) {
    impl->AddRemoveAttribute(name, value);
    return *this;
}

InstallOptions& InstallOptions::SetRemoveAllAttributes(bool value) {
    impl->SetRemoveAllAttributes(value);
    return *this;
}

InstallOptions& InstallOptions::SetOwner(const String_t& owner) {
    impl->SetOwner(owner);
    return *this;
}

InstallOptions& InstallOptions::RemoveOwner() {
    impl->SetRemoveOwner(true);
    return *this;
}

InstallOptions& InstallOptions::SetForceAll(bool value) {
    impl->SetForceAll(value);
    return *this;
}

InstallOptions& InstallOptions::SetForceOwner(bool value) {
    impl->SetForceOwner(value);
    return *this;
}

InstallOptions& InstallOptions::SetForceCat(bool value) {
    impl->SetForceCat(value);
    return *this;
}

InstallOptions& InstallOptions::SetForceAttr(bool value) {
    impl->SetForceAttr(value);
    return *this;
}

InstallOptions& InstallOptions::SetCloseConnection(bool value) {
    impl->SetCloseConnection(value);
    return *this;
}

}  // namespace LumConf
