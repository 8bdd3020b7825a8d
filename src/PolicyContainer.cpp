#include "PolicyContainer.h"

#include "PolicyContainerImpl.h"

namespace LumConf {

using LumPalStr::String_t;
using Options = PolicyContainer::Options;

Options& Options::SetAllPolicies() {
    kind = Kind::All;
    value = String_t();
    return *this;
}

Options& Options::SetPolicyId(const String_t& id) {
    kind = Kind::Id;
    value = id.ToLower();
    return *this;
}

Options& Options::SetPolicyTypeName(const String_t& typeName) {
    kind = Kind::TypeName;
    value = typeName.ToLower();
    return *this;
}

Options& Options::SetPolicyNameAndTypeName(const String_t& text) {
    kind = Kind::NameAndTypeName;
    value = text.ToLower();
    return *this;
}

PolicyContainer::PolicyContainer() : impl(new PolicyContainerImpl) {}
PolicyContainer::PolicyContainer(PolicyContainerImpl* impl) : impl(impl) {}
PolicyContainer::PolicyContainer(const PolicyContainer& other) = default;
PolicyContainer& PolicyContainer::operator=(const PolicyContainer& other) = default;
PolicyContainer::~PolicyContainer() = default;

int PolicyContainer::CheckPolicy() const {
    return impl->CheckPolicy(Options());
}
int PolicyContainer::CheckPolicy(const Options& options) const {
    return impl->CheckPolicy(options);
}
int PolicyContainer::CheckPolicy(const String_t& ids) const {
    return impl->CheckPolicy(ids);
}

int PolicyContainer::GetCount() const {
    return impl->GetCount();
}
PolicyHeader PolicyContainer::GetPolicyHeader(int index) const {
    return PolicyHeader(impl->GetPolicyHeader(index).Get());
}
PolicyHeader PolicyContainer::GetPolicyHeader(const String_t& id) const {
    return PolicyHeader(impl->GetPolicyHeader(id).Get());
}
PolicyHeader PolicyContainer::GetPolicyHeader(const String_t& name, const String_t& type) const {
    return PolicyHeader(impl->GetPolicyHeader(name, type).Get());
}

void PolicyContainer::Enable(const String_t& ids) const {
    impl->Enable(ids);
}
void PolicyContainer::Disable(const String_t& ids) const {
    impl->Disable(ids);
}
void PolicyContainer::Remove(const String_t& ids) const {
    impl->Remove(ids);
}
void PolicyContainer::Enable(const String_t& name, const String_t& type) const {
    impl->Enable(name, type);
}
void PolicyContainer::Disable(const String_t& name, const String_t& type) const {
    impl->Disable(name, type);
}
void PolicyContainer::Remove(const String_t& name, const String_t& type) const {
    impl->Remove(name, type);
}

void PolicyContainer::Dump(const LumPalIo::File_t& out, const String_t& typeName) {
    PolicyContainerImpl::Dump(out, typeName);
}

bool PolicyContainer::IsEmpty() const {
    return impl->IsEmpty();
}
bool PolicyContainer::HasTypeName(const String_t& typeName) const {
    return impl->HasTypeName(typeName);
}
void PolicyContainer::Insert(PolicyHeaderImpl* header) const {
    impl->Insert(header);
}

}  // namespace LumConf
