/// @file
/// What a PolicyHeader handle refers to.
#pragma once

#include <atomic>
#include <cstddef>
#include <vector>

#include "EntryLookUps.h"
#include "HashedTexts.h"
#include "LumPalArray.h"
#include "LumPalPlainMutex.h"
#include "LumPalPtr.h"
#include "LumPalRef.h"
#include "LumPalStr.h"
#include "PolicyAttributeImpl.h"

namespace LumConf {

/// One data file of a policy.
struct PolicyDataFile {
    LumPalStr::String_t name;
    LumPalStr::String_t encoding;
    LumPalStr::String_t checksum;
};

/// The plain fields of a header, without certificate and signatures. A value: copies are cheap, since texts and
/// attributes are shared and neither ever changes in place.
struct PolicyRecord {
    LumPalStr::String_t containerId, versionId, name, version, description;
    LumPalStr::String_t status;
    LumPalStr::String_t owner, typeId, typeName, typeVersion;
    std::vector<PolicyDataFile> dataFiles;
    std::vector<LumPalStr::String_t> categories;
    std::vector<LumPalPtr::RefPtr_t<PolicyAttributeImpl>> attributes;
    std::vector<LumPalStr::String_t> missingDataFiles;
};

/// What a policy is found by.
struct PolicyKeys {
    LumPalStr::String_t containerId, name, typeName;
};

/// The record of one policy. Every call is atomic by itself and any thread may make it: the fields are guarded by a
/// mutex of a small pool that all headers share (chosen by address, a leaf: nothing else is locked inside).
/// Who needs several fields of one moment takes a Snapshot.
///
/// Adding costs the same however many categories and attributes there are; Compact drops what that takes.
class PolicyHeaderImpl final : public LumPalRef::RefCounted_t {
public:
    /// Enabled, everything else empty.
    PolicyHeaderImpl();

    /// All plain fields of one moment.
    PolicyRecord Snapshot() const;
    /// What a container finds the policy by, of one moment.
    PolicyKeys GetKeys() const;

    LumPalStr::String_t GetContainerId() const;
    LumPalStr::String_t GetVersionId() const;
    LumPalStr::String_t GetName() const;
    LumPalStr::String_t GetVersion() const;
    LumPalStr::String_t GetDescription() const;
    LumPalStr::String_t GetStatus() const;
    LumPalStr::String_t GetOwner() const;
    LumPalStr::String_t GetTypeId() const;
    LumPalStr::String_t GetTypeName() const;
    LumPalStr::String_t GetTypeVersion() const;

    /// Fold to lower case.
    void SetContainerId(const LumPalStr::String_t& id);
    void SetVersionId(const LumPalStr::String_t& id);
    void SetTypeId(const LumPalStr::String_t& id);
    void SetTypeName(const LumPalStr::String_t& name);
    /// Unchanged.
    void SetName(const LumPalStr::String_t& name);
    void SetVersion(const LumPalStr::String_t& version);
    void SetDescription(const LumPalStr::String_t& description);
    void SetOwner(const LumPalStr::String_t& owner);
    void SetTypeVersion(const LumPalStr::String_t& version);
    /// Any text: what a document says.
    void SetStatus(const LumPalStr::String_t& status);

    bool IsEnabled() const;
    bool IsDisabled() const;
    void SetEnabled();
    void SetDisabled();

    int GetCategoryCount() const;
    LumPalStr::String_t GetCategory(int index) const;
    bool SetCategory(const LumPalStr::String_t& category);
    /// @return whether the category was there; false for an empty text
    bool RemoveCategory(const LumPalStr::String_t& category);
    /// Removes many in one walk. @return whether any was there
    bool RemoveCategories(const HashedTexts<LumPalStr::String_t>& categories);
    void RemoveAllCategories();
    /// In place of all that are there. @param categories  of another header, so that none is empty or there twice
    void ReplaceCategories(std::vector<LumPalStr::String_t> categories);

    int GetAttributesCount() const;
    LumPalPtr::RefPtr_t<PolicyAttributeImpl> GetAttribute(int index) const;
    bool SetAttribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// Compared exactly, untrimmed. @return whether the pair was there
    /// @throws LumPalMsg::IllegalArgumentError_t AttributeEmpty, AttributeWithBadText for a bad name or a bad value
    bool RemoveAttribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// Removes many, names and values, in one walk; after an error all are there as before.
    void RemoveAttributes(const std::vector<TextPair>& pairs);
    void RemoveAllAttributes();
    /// In place of all that are there, shared. @param attributes  of another header, so that none is there twice
    void ReplaceAttributes(std::vector<LumPalPtr::RefPtr_t<PolicyAttributeImpl>> attributes);

    int GetDataFileCount() const;
    LumPalStr::String_t GetDataFile(int index) const;
    std::vector<LumPalStr::String_t> GetDataFileNames() const;
    LumPalStr::String_t GetDataFileEncoding(int index) const;
    LumPalStr::String_t GetDataFileChecksum(int index) const;
    void SetDataFile(const LumPalStr::String_t& name);
    void SetDataFile(const LumPalStr::String_t& name, const LumPalStr::String_t& encoding,
                     const LumPalStr::String_t& checksum);
    void SetDataFileEncoding(const LumPalStr::String_t& encoding);
    void SetDataFileChecksum(const LumPalStr::String_t& checksum);

    /// Those of its data files that were not there when somebody looked; no part of the document.
    void AddMissingDataFile(const LumPalStr::String_t& name);
    int GetMissingDataFileCount() const;
    LumPalStr::String_t GetMissingDataFile(int index) const;

    /// Base64 text.
    void AddSignature(const LumPalArray::CharArray_t& base64);
    void RemoveAllSignatures();
    int GetSignatureCount() const;
    std::vector<LumPalArray::CharArray_t> GetRawSignatures() const;
    /// @throws LumPalMsg::IllegalArgumentError_t SignatureIndex for an index that names no data file or has no
    ///         signature
    LumPalArray::CharArray_t GetRawSignature(int index) const;
    LumPalArray::CharArray_t GetSignature(int index) const;
    /// Base64 text.
    void SetCertificate(const LumPalArray::CharArray_t& base64);
    LumPalArray::CharArray_t GetRawCertificate() const;
    std::size_t GetRawCertificateLength() const;
    LumPalArray::CharArray_t GetCertificate() const;

    /// Set when a container takes the header: only then GetData may read.
    void SetDataReadAllowed(bool allowed) noexcept { dataReadAllowed.store(allowed, std::memory_order_release); }
    bool IsDataReadAllowed() const noexcept { return dataReadAllowed.load(std::memory_order_acquire); }

    /// Empties every field, the status too; the attributes stay (kept: the document reader relies on it).
    void Clear();
    /// Gives back memory that growing lists hold in reserve, and what look-ups have made: for a header that stays.
    void Compact();

private:
    LumPalThread::PlainMutex_t& Guard() const noexcept;
    LumPalStr::String_t Get(LumPalStr::String_t PolicyRecord::*field) const;
    void Set(LumPalStr::String_t PolicyRecord::*field, const LumPalStr::String_t& text);
    void TakeVersionIdLocked(const PolicyAttributeImpl& attribute) LUMPAL_REQUIRES(Guard());

    PolicyRecord record LUMPAL_GUARDED_BY(Guard());
    LumPalArray::CharArray_t certificate LUMPAL_GUARDED_BY(Guard());
    std::vector<LumPalArray::CharArray_t> signatures LUMPAL_GUARDED_BY(Guard());
    EntryLookUps lookUps LUMPAL_GUARDED_BY(Guard());  ///< without an index between the operations on the policy
    std::atomic<bool> dataReadAllowed{false};
};

}  // namespace LumConf
