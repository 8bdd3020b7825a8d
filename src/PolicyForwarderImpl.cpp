#include "PolicyForwarderImpl.h"

#include "AttributeCheck.h"
#include "Exceptions.h"
#include "InstallOptions.h"
#include "MessageForwarder.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyContainer.h"
#include "PolicyUtil.h"
#include "Selection.h"

namespace LumConf {

using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using Options = PolicyForwarder::Options;

namespace {

String_t Trimmed(String_t text) {
    return text.Trim();
}

}  // namespace

PolicyForwarderImpl::PolicyForwarderImpl() : forwarder(std::make_unique<MessageForwarder>()) {}

PolicyForwarderImpl::PolicyForwarderImpl(const LumVoxMsg::Messenger& messenger)
    : forwarder(std::make_unique<MessageForwarder>(messenger)) {}

PolicyForwarderImpl::~PolicyForwarderImpl() = default;

const LumVoxMsg::Messenger& PolicyForwarderImpl::GetVoxMessenger() const noexcept {
    return *forwarder;
}

void PolicyForwarderImpl::Install(const String_t& host, const LumPalIo::File_t& headerFile,
                                  const InstallOptions& options) const {
    PolicyUtil::CheckPolicyFile(headerFile);
    forwarder->SendInstall(names::InstallMethod, RequestKind::Install, host, headerFile.GetName(),
                           PolicyUtil::PackPolicyFile(headerFile), options, InstallMethod::Policy);
}

void PolicyForwarderImpl::Operate(OperationMode mode, const String_t& host, const String_t& argument,
                                  const Selection& selection, const Options& options) const {
    forwarder->SendSelection(names::PolicyOpMethod, RequestKind::Selection, mode, host, argument, selection, options);
}

void PolicyForwarderImpl::AddCategory(const String_t& host, const String_t& category, const Selection& selection,
                                      const Options& options) const {
    const String_t trimmed = Trimmed(category);
    if (trimmed.IsEmpty()) Raise<IllegalArgumentError_t>(msg::AddCategoryEmpty);
    Operate(OperationMode::AddCategory, host, trimmed, selection, options);
}

void PolicyForwarderImpl::RemoveCategory(const String_t& host, const String_t& category, const Selection& selection,
                                         const Options& options) const {
    // Unlike the adding form neither trims nor refuses blanks (kept: a category of blanks can be removed).
    if (category.IsEmpty()) Raise<IllegalArgumentError_t>(msg::RemoveCategoryEmpty);
    Operate(OperationMode::RemoveCategory, host, category, selection, options);
}

void PolicyForwarderImpl::AddAttribute(const String_t& host, const String_t& name, const String_t& value,
                                       const Selection& selection, const Options& options) const {
    CheckAttribute(name);
    Operate(OperationMode::AddAttribute, host, Trimmed(name) + "=" + Trimmed(value), selection, options);
}

void PolicyForwarderImpl::RemoveAttribute(const String_t& host, const String_t& name, const String_t& value,
                                          const Selection& selection, const Options& options) const {
    CheckAttribute(name);
    CheckAttribute(value);
    Operate(OperationMode::RemoveAttribute, host, name + "=" + value, selection, options);
}

void PolicyForwarderImpl::Notify(const String_t& host) const {
    Operate(OperationMode::Notify, host, "", Selection(), Options());
}

PolicyContainer PolicyForwarderImpl::List(const String_t& host, const String_t& targetId,
                                          const Selection& selection) const {
    return forwarder->SendList(names::ListMethod, RequestKind::List, host, targetId, selection);
}

std::vector<StoredPolicy> PolicyForwarderImpl::ReadStored(const String_t& host, const String_t& targetId,
                                                          const Selection& selection, StoredFiles what) const {
    return forwarder->SendFiles(host, targetId, selection, what);
}

NodeStatus PolicyForwarderImpl::GetStatus(const String_t& host, const String_t& targetId) const {
    return forwarder->SendStatus(host, targetId);
}

PolicyContainer PolicyForwarderImpl::ListNaming(const String_t& host, const String_t& targetId,
                                                const String_t& typeName, const std::vector<String_t>& files) const {
    return forwarder->SendListNaming(host, targetId, typeName, files);
}

void PolicyForwarderImpl::ReinitCache(const String_t& host, const String_t& targetId) const {
    Operate(OperationMode::ReinitCache, host, "", Selection(), Options().SetTargetID(targetId));
}

}  // namespace LumConf
