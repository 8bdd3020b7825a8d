#include "PolicyForwarder.h"

#include "InstallOptions.h"
#include "PolicyContainer.h"
#include "PolicyForwarderImpl.h"
#include "Selection.h"

namespace LumConf {

using LumPalStr::String_t;

PolicyForwarder::PolicyForwarder() : impl(new PolicyForwarderImpl) {
    impl->AddRef();
}

PolicyForwarder::PolicyForwarder(const LumVoxMsg::Messenger& messenger) : impl(new PolicyForwarderImpl(messenger)) {
    impl->AddRef();
}

PolicyForwarder::PolicyForwarder(const PolicyForwarder& other) : impl(other.impl) {
    impl->AddRef();
}

PolicyForwarder& PolicyForwarder::operator=(const PolicyForwarder& other) {
    other.impl->AddRef();
    impl->Release();
    impl = other.impl;
    return *this;
}

PolicyForwarder::~PolicyForwarder() {
    impl->Release();
}

const LumVoxMsg::Messenger& PolicyForwarder::GetVoxMessenger() const {
    return impl->GetVoxMessenger();
}

void PolicyForwarder::Install(const String_t& host, const LumPalIo::File_t& headerFile) const {
    Install(host, headerFile, InstallOptions());
}

void PolicyForwarder::Install(const String_t& host, const LumPalIo::File_t& headerFile,
                              const InstallOptions& options) const {
    impl->Install(host, headerFile, options);
}

void PolicyForwarder::Remove(const String_t& host, const Selection& selection) const {
    Remove(host, selection, Options());
}

void PolicyForwarder::Remove(const String_t& host, const Selection& selection, const Options& options) const {
    impl->Operate(OperationMode::Remove, host, "", selection, options);
}

void PolicyForwarder::Enable(const String_t& host, const Selection& selection) const {
    Enable(host, selection, Options());
}

void PolicyForwarder::Enable(const String_t& host, const Selection& selection, const Options& options) const {
    impl->Operate(OperationMode::Enable, host, "", selection, options);
}

void PolicyForwarder::Disable(const String_t& host, const Selection& selection) const {
    Disable(host, selection, Options());
}

void PolicyForwarder::Disable(const String_t& host, const Selection& selection, const Options& options) const {
    impl->Operate(OperationMode::Disable, host, "", selection, options);
}

void PolicyForwarder::SetOwner(const String_t& host, const String_t& owner, const Selection& selection) const {
    SetOwner(host, owner, selection, Options());
}

void PolicyForwarder::SetOwner(const String_t& host, const String_t& owner, const Selection& selection,
                               const Options& options) const {
    impl->Operate(OperationMode::SetOwner, host, owner, selection, options);
}

void PolicyForwarder::AddCategory(const String_t& host, const String_t& category, const Selection& selection) const {
    AddCategory(host, category, selection, Options());
}

void PolicyForwarder::AddCategory(const String_t& host, const String_t& category, const Selection& selection,
                                  const Options& options) const {
    impl->AddCategory(host, category, selection, options);
}

void PolicyForwarder::RemoveCategory(const String_t& host, const String_t& category, const Selection& selection) const {
    RemoveCategory(host, category, selection, Options());
}

void PolicyForwarder::RemoveCategory(const String_t& host, const String_t& category, const Selection& selection,
                                     const Options& options) const {
    impl->RemoveCategory(host, category, selection, options);
}

void PolicyForwarder::RemoveAllCategories(const String_t& host, const Selection& selection) const {
    RemoveAllCategories(host, selection, Options());
}

void PolicyForwarder::RemoveAllCategories(const String_t& host, const Selection& selection,
                                          const Options& options) const {
    impl->Operate(OperationMode::RemoveAllCategories, host, "", selection, options);
}

void PolicyForwarder::AddAttribute(const String_t& host, const String_t& name, const String_t& value,
                                   const Selection& selection) const {
    AddAttribute(host, name, value, selection, Options());
}

void PolicyForwarder::AddAttribute(const String_t& host, const String_t& name, const String_t& value,
                                   const Selection& selection, const Options& options) const {
    impl->AddAttribute(host, name, value, selection, options);
}

void PolicyForwarder::RemoveAttribute(const String_t& host, const String_t& name, const String_t& value,
                                      const Selection& selection) const {
    RemoveAttribute(host, name, value, selection, Options());
}

void PolicyForwarder::RemoveAttribute(const String_t& host, const String_t& name, const String_t& value,
                                      const Selection& selection, const Options& options) const {
    impl->RemoveAttribute(host, name, value, selection, options);
}

void PolicyForwarder::RemoveAllAttributes(const String_t& host, const Selection& selection) const {
    RemoveAllAttributes(host, selection, Options());
}

void PolicyForwarder::RemoveAllAttributes(const String_t& host, const Selection& selection,
                                          const Options& options) const {
    impl->Operate(OperationMode::RemoveAllAttributes, host, "", selection, options);
}

void PolicyForwarder::Notify(const String_t& host) const {
    impl->Notify(host);
}

void PolicyForwarder::Notify(const String_t& host, const String_t&) const {
    impl->Notify(host);
}

PolicyContainer PolicyForwarder::List(const String_t& host, const Selection& selection) const {
    return List(host, selection, "");
}

PolicyContainer PolicyForwarder::List(const String_t& host, const Selection& selection,
                                      const String_t& targetId) const {
    return impl->List(host, targetId, selection);
}

PolicyContainer PolicyForwarder::ListNaming(const String_t& host, const String_t& typeName,
                                            const std::vector<String_t>& dataFiles, const String_t& targetId) const {
    return impl->ListNaming(host, targetId, typeName, dataFiles);
}

std::vector<StoredPolicy> PolicyForwarder::ReadStored(const String_t& host, const Selection& selection,
                                                      StoredFiles what, const String_t& targetId) const {
    return impl->ReadStored(host, targetId, selection, what);
}

NodeStatus PolicyForwarder::GetStatus(const String_t& host, const String_t& targetId) const {
    return impl->GetStatus(host, targetId);
}

}  // namespace LumConf
