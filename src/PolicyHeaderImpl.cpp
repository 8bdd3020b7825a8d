#include "PolicyHeaderImpl.h"

#include <algorithm>
#include <cstdint>

#include "AttributeCheck.h"
#include "LumPalIo.h"
#include "LumPalPlainMutex.h"
#include "LumPalWhole.h"
#include "Messages.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using AttributePtr = LumPalPtr::RefPtr_t<PolicyAttributeImpl>;

namespace {

const String_t& PlainText() {
    static const String_t& text = *new String_t("text/plain");  // never destroyed: threads may outlive it
    return text;
}

String_t UsableEncoding(const String_t& encoding) {
    String_t trimmed(encoding);
    trimmed.Trim();
    return trimmed.IsEmpty() || trimmed == PlainText() ? PlainText() : trimmed;
}

template <class List>
bool IsIndexOf(const List& list, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < list.size();
}

template <class List, class Row>
const auto& At(const List& list, int index, const Row& row) {
    if (!IsIndexOf(list, index)) Raise<IllegalArgumentError_t>(row, index);
    return list[static_cast<std::size_t>(index)];
}

CharArray_t DecodeBase64(const CharArray_t& base64) {
    const LumPalIo::Base64InputStream_t decoder(LumPalIo::CharArrayInputStream_t::Over(base64));
    return LumPalIo::ReadAtMost(decoder, LumPalIo::kNoLimit);
}

}  // namespace

LumPalThread::PlainMutex_t& PolicyHeaderImpl::Guard() const noexcept {
    struct alignas(64) Slot {
        LumPalThread::PlainMutex_t mutex;  // unmarked: it guards members of headers that share it, by their addresses
    };
    constexpr std::size_t slotCount = 64;
    static Slot pool[slotCount];
    const auto address = reinterpret_cast<std::uintptr_t>(this);
    return pool[(address >> 5 ^ address >> 11) % slotCount].mutex;
}

PolicyRecord PolicyHeaderImpl::Snapshot() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return record;
}

PolicyKeys PolicyHeaderImpl::GetKeys() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return {record.containerId, record.name, record.typeName};
}

int PolicyHeaderImpl::GetCategoryCount() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return static_cast<int>(record.categories.size());
}

String_t PolicyHeaderImpl::GetCategory(int index) const {
    const LumPalThread::PlainLock_t lock(Guard());
    return At(record.categories, index, msg::CategoryIndex);
}

bool PolicyHeaderImpl::SetCategory(const String_t& category) {
    if (category.IsEmpty()) return false;
    const LumPalThread::PlainLock_t lock(Guard());
    if (!lookUps.IsNew(record.categories, category)) return false;
    record.categories.push_back(category);
    return true;
}

bool PolicyHeaderImpl::RemoveCategory(const String_t& category) {
    if (category.IsEmpty()) return false;
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    return std::erase(record.categories, category) != 0;
}

bool PolicyHeaderImpl::RemoveCategories(const HashedTexts<String_t>& unwanted) {
    if (unwanted.IsEmpty()) return false;
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    return std::erase_if(record.categories, [&](const String_t& text) { return unwanted.Has(text); }) != 0;
}

void PolicyHeaderImpl::RemoveAllCategories() {
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    record.categories.clear();
}

void PolicyHeaderImpl::ReplaceCategories(std::vector<String_t> categories) {
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    record.categories = std::move(categories);
}

int PolicyHeaderImpl::GetAttributesCount() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return static_cast<int>(record.attributes.size());
}

AttributePtr PolicyHeaderImpl::GetAttribute(int index) const {
    const LumPalThread::PlainLock_t lock(Guard());
    return At(record.attributes, index, msg::AttributeIndex);
}

bool PolicyHeaderImpl::SetAttribute(const String_t& name, const String_t& value) {
    CheckAttribute(name);
    const TextPair trimmed(String_t(name).Trim(), String_t(value).Trim());
    const LumPalThread::PlainLock_t lock(Guard());
    if (!lookUps.IsNew(record.attributes, trimmed)) return false;
    record.attributes.emplace_back(new PolicyAttributeImpl(trimmed.first, trimmed.second));
    TakeVersionIdLocked(*record.attributes.back());
    return true;
}

/// An attribute of this name supplies a version id that is missing.
void PolicyHeaderImpl::TakeVersionIdLocked(const PolicyAttributeImpl& attribute) {
    if (attribute.GetName() == "version_id" && record.versionId.IsEmpty()) {
        record.versionId = attribute.GetValue().ToLower();
    }
}

bool PolicyHeaderImpl::RemoveAttribute(const String_t& name, const String_t& value) {
    CheckAttribute(name);
    CheckAttribute(value);
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    const auto isPair = [&](const AttributePtr& a) { return a->GetName() == name && a->GetValue() == value; };
    return std::erase_if(record.attributes, isPair) != 0;
}

void PolicyHeaderImpl::RemoveAttributes(const std::vector<TextPair>& pairs) {
    for (const auto& [name, value] : pairs) {
        CheckAttribute(name);
        CheckAttribute(value);
    }
    if (pairs.empty()) return;
    const HashedTexts<TextPair> unwanted(pairs);
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    std::erase_if(record.attributes, [&](const AttributePtr& a) {
        return unwanted.Has({a->GetName(), a->GetValue()});
    });
}

void PolicyHeaderImpl::RemoveAllAttributes() {
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    record.attributes.clear();
}

void PolicyHeaderImpl::ReplaceAttributes(std::vector<AttributePtr> attributes) {
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    record.attributes = std::move(attributes);
    for (const AttributePtr& attribute : record.attributes) TakeVersionIdLocked(*attribute);
}

int PolicyHeaderImpl::GetDataFileCount() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return static_cast<int>(record.dataFiles.size());
}

String_t PolicyHeaderImpl::GetDataFile(int index) const {
    const LumPalThread::PlainLock_t lock(Guard());
    return At(record.dataFiles, index, msg::DataFileIndex).name;
}

std::vector<String_t> PolicyHeaderImpl::GetDataFileNames() const {
    const LumPalThread::PlainLock_t lock(Guard());
    std::vector<String_t> names;
    names.reserve(record.dataFiles.size());
    for (const PolicyDataFile& file : record.dataFiles) names.push_back(file.name);
    return names;
}

String_t PolicyHeaderImpl::GetDataFileEncoding(int index) const {
    const LumPalThread::PlainLock_t lock(Guard());
    return At(record.dataFiles, index, msg::DataFileIndex).encoding;
}

String_t PolicyHeaderImpl::GetDataFileChecksum(int index) const {
    const LumPalThread::PlainLock_t lock(Guard());
    return At(record.dataFiles, index, msg::DataFileIndex).checksum;
}

void PolicyHeaderImpl::SetDataFile(const String_t& name) {
    SetDataFile(name, PlainText(), String_t());
}

void PolicyHeaderImpl::SetDataFile(const String_t& name, const String_t& encoding, const String_t& checksum) {
    PolicyDataFile file{name, UsableEncoding(encoding), checksum};
    const LumPalThread::PlainLock_t lock(Guard());
    record.dataFiles.push_back(std::move(file));
}

void PolicyHeaderImpl::SetDataFileEncoding(const String_t& encoding) {
    const String_t usable = UsableEncoding(encoding);
    const LumPalThread::PlainLock_t lock(Guard());
    if (!record.dataFiles.empty()) record.dataFiles.back().encoding = usable;
}

void PolicyHeaderImpl::SetDataFileChecksum(const String_t& checksum) {
    const LumPalThread::PlainLock_t lock(Guard());
    if (!record.dataFiles.empty()) record.dataFiles.back().checksum = checksum;
}

void PolicyHeaderImpl::AddMissingDataFile(const String_t& name) {
    const LumPalThread::PlainLock_t lock(Guard());
    record.missingDataFiles.push_back(name);
}

int PolicyHeaderImpl::GetMissingDataFileCount() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return static_cast<int>(record.missingDataFiles.size());
}

String_t PolicyHeaderImpl::GetMissingDataFile(int index) const {
    const LumPalThread::PlainLock_t lock(Guard());
    return At(record.missingDataFiles, index, msg::DataFileIndex);
}

void PolicyHeaderImpl::AddSignature(const CharArray_t& base64) {
    const LumPalThread::PlainLock_t lock(Guard());
    signatures.push_back(base64);
}

void PolicyHeaderImpl::RemoveAllSignatures() {
    const LumPalThread::PlainLock_t lock(Guard());
    signatures.clear();
}

int PolicyHeaderImpl::GetSignatureCount() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return static_cast<int>(signatures.size());
}

std::vector<CharArray_t> PolicyHeaderImpl::GetRawSignatures() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return signatures;
}

CharArray_t PolicyHeaderImpl::GetRawSignature(int index) const {
    const LumPalThread::PlainLock_t lock(Guard());
    // The index is tested against the data files (kept: peers rely on it), then against what is really there.
    At(record.dataFiles, index, msg::SignatureIndex);
    return At(signatures, index, msg::SignatureIndex);
}

CharArray_t PolicyHeaderImpl::GetSignature(int index) const {
    if (index < 0 || index >= GetDataFileCount()) Raise<IllegalArgumentError_t>(msg::SignatureTagIndex, index);
    return DecodeBase64(GetRawSignature(index));
}

void PolicyHeaderImpl::SetCertificate(const CharArray_t& base64) {
    const LumPalThread::PlainLock_t lock(Guard());
    certificate = base64;
}

CharArray_t PolicyHeaderImpl::GetRawCertificate() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return certificate;
}

std::size_t PolicyHeaderImpl::GetRawCertificateLength() const {
    const LumPalThread::PlainLock_t lock(Guard());
    return certificate.GetLength();
}

CharArray_t PolicyHeaderImpl::GetCertificate() const {
    return DecodeBase64(GetRawCertificate());
}

void PolicyHeaderImpl::Clear() {
    PolicyRecord empty;
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    empty.attributes.swap(record.attributes);
    record = std::move(empty);
    certificate = CharArray_t();
    signatures.clear();
}

void PolicyHeaderImpl::Compact() {
    const LumPalThread::PlainLock_t lock(Guard());
    lookUps.Drop();
    record.dataFiles.shrink_to_fit();
    record.categories.shrink_to_fit();
    record.attributes.shrink_to_fit();
    signatures.shrink_to_fit();
}

}  // namespace LumConf
