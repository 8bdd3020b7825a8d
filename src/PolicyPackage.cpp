#include "PolicyPackage.h"

#include "InstallOptions.h"
#include "PolicyPackageImpl.h"

namespace LumConf {

PolicyPackage::PolicyPackage() : impl(new PolicyPackageImpl) {
    impl->AddRef();
}

PolicyPackage::PolicyPackage(const LumVoxMsg::Messenger& messenger) : impl(new PolicyPackageImpl(messenger)) {
    impl->AddRef();
}

PolicyPackage::PolicyPackage(const PolicyPackage& other) : impl(other.impl) {
    impl->AddRef();
}

PolicyPackage& PolicyPackage::operator=(const PolicyPackage& other) {
    other.impl->AddRef();
    impl->Release();
    impl = other.impl;
    return *this;
}

PolicyPackage::~PolicyPackage() {
    impl->Release();
}

const LumVoxMsg::Messenger& PolicyPackage::GetVoxMessenger() const {
    return impl->GetVoxMessenger();
}

void PolicyPackage::AddPolicy(const LumPalIo::File_t& headerFile) {
    impl->AddPolicy(headerFile);
}

void PolicyPackage::Install(const LumPalStr::String_t& host) {
    Install(host, InstallOptions());
}

void PolicyPackage::Install(const LumPalStr::String_t& host, const InstallOptions& options) {
    impl->Install(host, options);
}

void PolicyPackage::Clear() {
    impl->Clear();
}

bool PolicyPackage::IsInit() const {
    return impl->IsInit();
}

}  // namespace LumConf
