// The plain texts of a header.
#include "PolicyHeaderImpl.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

const String_t& Enabled() {
    static const String_t& text = *new String_t("enabled");  // never destroyed: threads may outlive it
    return text;
}

const String_t& Disabled() {
    static const String_t& text = *new String_t("disabled");  // never destroyed: threads may outlive it
    return text;
}

/// The known texts share one buffer among all headers.
const String_t& SharedStatus(const String_t& status) {
    if (status == Enabled()) return Enabled();
    if (status == Disabled()) return Disabled();
    return status;
}

}  // namespace

PolicyHeaderImpl::PolicyHeaderImpl() {
    record.status = Enabled();
}

String_t PolicyHeaderImpl::Get(String_t PolicyRecord::*field) const {
    const LumPalThread::PlainLock_t lock(Guard());
    return record.*field;
}

void PolicyHeaderImpl::Set(String_t PolicyRecord::*field, const String_t& text) {
    const LumPalThread::PlainLock_t lock(Guard());
    record.*field = text;
}

String_t PolicyHeaderImpl::GetContainerId() const {
    return Get(&PolicyRecord::containerId);
}
String_t PolicyHeaderImpl::GetVersionId() const {
    return Get(&PolicyRecord::versionId);
}
String_t PolicyHeaderImpl::GetName() const {
    return Get(&PolicyRecord::name);
}
String_t PolicyHeaderImpl::GetVersion() const {
    return Get(&PolicyRecord::version);
}
String_t PolicyHeaderImpl::GetDescription() const {
    return Get(&PolicyRecord::description);
}
String_t PolicyHeaderImpl::GetStatus() const {
    return Get(&PolicyRecord::status);
}
String_t PolicyHeaderImpl::GetOwner() const {
    return Get(&PolicyRecord::owner);
}
String_t PolicyHeaderImpl::GetTypeId() const {
    return Get(&PolicyRecord::typeId);
}
String_t PolicyHeaderImpl::GetTypeName() const {
    return Get(&PolicyRecord::typeName);
}
String_t PolicyHeaderImpl::GetTypeVersion() const {
    return Get(&PolicyRecord::typeVersion);
}

void PolicyHeaderImpl::SetContainerId(const String_t& id) {
    Set(&PolicyRecord::containerId, id.ToLower());
}
void PolicyHeaderImpl::SetVersionId(const String_t& id) {
    Set(&PolicyRecord::versionId, id.ToLower());
}
void PolicyHeaderImpl::SetTypeId(const String_t& id) {
    Set(&PolicyRecord::typeId, id.ToLower());
}
void PolicyHeaderImpl::SetTypeName(const String_t& name) {
    Set(&PolicyRecord::typeName, name.ToLower());
}
void PolicyHeaderImpl::SetName(const String_t& name) {
    Set(&PolicyRecord::name, name);
}
void PolicyHeaderImpl::SetVersion(const String_t& version) {
    Set(&PolicyRecord::version, version);
}
void PolicyHeaderImpl::SetDescription(const String_t& description) {
    Set(&PolicyRecord::description, description);
}
void PolicyHeaderImpl::SetOwner(const String_t& owner) {
    Set(&PolicyRecord::owner, owner);
}
void PolicyHeaderImpl::SetTypeVersion(const String_t& version) {
    Set(&PolicyRecord::typeVersion, version);
}
void PolicyHeaderImpl::SetStatus(const String_t& status) {
    Set(&PolicyRecord::status, SharedStatus(status));
}

bool PolicyHeaderImpl::IsEnabled() const {
    return GetStatus() == Enabled();
}
bool PolicyHeaderImpl::IsDisabled() const {
    return GetStatus() == Disabled();
}
void PolicyHeaderImpl::SetEnabled() {
    Set(&PolicyRecord::status, Enabled());
}
void PolicyHeaderImpl::SetDisabled() {
    Set(&PolicyRecord::status, Disabled());
}

}  // namespace LumConf
