#include "PolicyHeader.h"

#include "LumPalThread.h"
#include "Messages.h"
#include "PolicyArrayReader.h"
#include "PolicyData.h"
#include "PolicyDocumentWriter.h"
#include "PolicyHeaderImpl.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"
#include "Trace.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

/// One policy document at a time passes through Read and Write.
LumPalThread::Mutex_t& DocumentMutex() {
    static LumPalThread::Mutex_t& mutex = *new LumPalThread::Mutex_t;  // never destroyed: threads may outlive it
    return mutex;
}

}  // namespace

PolicyHeader::PolicyHeader() : impl(new PolicyHeaderImpl) {}
PolicyHeader::PolicyHeader(PolicyHeaderImpl* impl) : impl(impl) {}
PolicyHeader::PolicyHeader(const PolicyHeader& other) = default;
PolicyHeader& PolicyHeader::operator=(const PolicyHeader& other) = default;
PolicyHeader::~PolicyHeader() = default;

String_t PolicyHeader::GetContainerId() const {
    return impl->GetContainerId();
}
String_t PolicyHeader::GetVersionId() const {
    return impl->GetVersionId();
}
String_t PolicyHeader::GetName() const {
    return impl->GetName();
}
String_t PolicyHeader::GetVersion() const {
    return impl->GetVersion();
}
String_t PolicyHeader::GetDescription() const {
    return impl->GetDescription();
}
String_t PolicyHeader::GetStatus() const {
    return impl->GetStatus();
}
String_t PolicyHeader::GetOwner() const {
    return impl->GetOwner();
}
String_t PolicyHeader::GetTypeId() const {
    return impl->GetTypeId();
}
String_t PolicyHeader::GetTypeName() const {
    return impl->GetTypeName();
}
String_t PolicyHeader::GetTypeVersion() const {
    return impl->GetTypeVersion();
}

void PolicyHeader::SetContainerId(const String_t& id) const {
    impl->SetContainerId(id);
}
void PolicyHeader::SetVersionId(const String_t& id) const {
    impl->SetVersionId(id);
}
void PolicyHeader::SetTypeId(const String_t& id) const {
    impl->SetTypeId(id);
}
void PolicyHeader::SetTypeName(const String_t& name) const {
    impl->SetTypeName(name);
}
void PolicyHeader::SetName(const String_t& name) const {
    impl->SetName(name);
}
void PolicyHeader::SetVersion(const String_t& version) const {
    impl->SetVersion(version);
}
void PolicyHeader::SetDescription(const String_t& description) const {
    impl->SetDescription(description);
}
void PolicyHeader::SetOwner(const String_t& owner) const {
    impl->SetOwner(owner);
}
void PolicyHeader::SetTypeVersion(const String_t& version) const {
    impl->SetTypeVersion(version);
}

bool PolicyHeader::IsEnabled() const {
    return impl->IsEnabled();
}
bool PolicyHeader::IsDisabled() const {
    return impl->IsDisabled();
}
void PolicyHeader::SetEnabled() const {
    impl->SetEnabled();
}
void PolicyHeader::SetDisabled() const {
    impl->SetDisabled();
}

int PolicyHeader::GetCategoryCount() const {
    return impl->GetCategoryCount();
}
String_t PolicyHeader::GetCategory(int index) const {
    return impl->GetCategory(index);
}
bool PolicyHeader::SetCategory(const String_t& category) const {
    return impl->SetCategory(category);
}

int PolicyHeader::GetAttributesCount() const {
    return impl->GetAttributesCount();
}
PolicyAttribute PolicyHeader::GetAttribute(int index) const {
    return PolicyAttribute(impl->GetAttribute(index).Get());
}
bool PolicyHeader::SetAttribute(const String_t& name, const String_t& value) const {
    return impl->SetAttribute(name, value);
}

int PolicyHeader::GetDataFileCount() const {
    return impl->GetDataFileCount();
}
String_t PolicyHeader::GetDataFile(int index) const {
    return impl->GetDataFile(index);
}
String_t PolicyHeader::GetDataFileEncoding(int index) const {
    return impl->GetDataFileEncoding(index);
}
String_t PolicyHeader::GetDataFileChecksum(int index) const {
    return impl->GetDataFileChecksum(index);
}
void PolicyHeader::SetDataFile(const String_t& name) const {
    impl->SetDataFile(name);
}
void PolicyHeader::SetDataFile(const String_t& name, const String_t& encoding, const String_t& checksum) const {
    impl->SetDataFile(name, encoding, checksum);
}
void PolicyHeader::SetDataFileEncoding(const String_t& encoding) const {
    impl->SetDataFileEncoding(encoding);
}
void PolicyHeader::SetDataFileChecksum(const String_t& checksum) const {
    impl->SetDataFileChecksum(checksum);
}

int PolicyHeader::GetMissingDataFileCount() const {
    return impl->GetMissingDataFileCount();
}
String_t PolicyHeader::GetMissingDataFile(int index) const {
    return impl->GetMissingDataFile(index);
}

void PolicyHeader::GetData(int index, CharArray_t& data) const {
    PolicyData::Get(*impl, index, data);
}
void PolicyHeader::GetData(int index, CharArray_t& data, String_t& encoding) const {
    GetData(index, data);
    encoding = GetDataFileEncoding(index);
}
CharArray_t PolicyHeader::GetSignature(int index) const {
    return impl->GetSignature(index);
}
CharArray_t PolicyHeader::GetCertificate() const {
    return impl->GetCertificate();
}

PolicyHeader PolicyHeader::Read(const File_t& file) {
    return Read(file, 0);
}

PolicyHeader PolicyHeader::Read(const File_t& file, unsigned long tolerance) {
    LUMCONF_BLOCK(trace::Policy, "PolicyHeader::Read");
    const LumPalThread::MutexLock_t lock(DocumentMutex());
    PolicyXmlHandler handler;
    handler.StartReading(tolerance);
    PolicyXmlParser::Parse(file, handler);
    return PolicyHeader(handler.TakeHeader().Get());
}

PolicyHeader PolicyHeader::Read(const File_t& file, LumPalMsg::MessageList_t& missing) {
    const LumPalThread::MutexLock_t lock(DocumentMutex());
    PolicyXmlHandler handler;
    handler.StartChecking();
    PolicyXmlParser::Parse(file, handler);
    missing = handler.GetMissing();
    return PolicyHeader(handler.TakeHeader().Get());
}

LumPalMsg::MessageList_t PolicyHeader::FindWarnings(const File_t& file) {
    const LumPalThread::MutexLock_t lock(DocumentMutex());
    PolicyXmlHandler handler;
    handler.StartChecking();
    PolicyXmlParser::Parse(file, handler);
    const String_t path = file.GetAbsolutePath();
    const int policies = handler.GetCount(document::Element::Policy), data = handler.GetCount(document::Element::Data);
    LumPalMsg::MessageList_t warnings;
    if (policies > 1) warnings.Add(Make(msg::DocumentWithPolicies, path, policies));
    if (data > 1) warnings.Add(Make(msg::DocumentWithDataElements, path, data, PolicyArrayReader::kMostFiles));
    return warnings;
}

void PolicyHeader::Write(const File_t& file, const PolicyHeader& header) {
    LUMCONF_BLOCK(trace::Policy, "PolicyHeader::Write");
    const LumPalThread::MutexLock_t lock(DocumentMutex());
    PolicyDocumentWriter::WriteNew(file, header.impl->Snapshot());
}

void PolicyHeader::SignData(const File_t& headerFile) {
    PolicyData::Sign(headerFile);
}
void PolicyHeader::SignData(const File_t& headerFile, const CharArray_t& alias) {
    PolicyData::Sign(headerFile, alias);
}

}  // namespace LumConf
