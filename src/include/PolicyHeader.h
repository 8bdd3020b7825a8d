/// @file
/// The record of one policy.
#pragma once

#include "Export.h"
#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalPtr.h"
#include "LumPalStr.h"
#include "PolicyAttribute.h"

namespace LumConf {

class PolicyHeaderImpl;

/// The header of one policy in memory. A handle: copies share the record, and a setter through one handle
/// is visible through every other (that is why setters are constant members).
/// Any thread may call any member at any time: each single call sees and leaves a consistent record. Only the handle
/// itself must not be assigned to while another thread uses it; give each thread a copy.
class LUMCONF_API PolicyHeader {
public:
    /// A fresh record: enabled, everything else empty.
    PolicyHeader();
    PolicyHeader(const PolicyHeader& other);
    PolicyHeader& operator=(const PolicyHeader& other);
    ~PolicyHeader();

    LumPalStr::String_t GetContainerId() const;
    LumPalStr::String_t GetVersionId() const;
    LumPalStr::String_t GetName() const;
    LumPalStr::String_t GetVersion() const;
    LumPalStr::String_t GetDescription() const;
    /// "enabled" or "disabled"; a document may bring any text, which then is neither.
    LumPalStr::String_t GetStatus() const;
    LumPalStr::String_t GetOwner() const;
    LumPalStr::String_t GetTypeId() const;
    LumPalStr::String_t GetTypeName() const;
    LumPalStr::String_t GetTypeVersion() const;

    /// These four store the text in lower case.
    void SetContainerId(const LumPalStr::String_t& id) const;
    void SetVersionId(const LumPalStr::String_t& id) const;
    void SetTypeId(const LumPalStr::String_t& id) const;
    void SetTypeName(const LumPalStr::String_t& name) const;

    void SetName(const LumPalStr::String_t& name) const;
    void SetVersion(const LumPalStr::String_t& version) const;
    void SetDescription(const LumPalStr::String_t& description) const;
    void SetOwner(const LumPalStr::String_t& owner) const;
    void SetTypeVersion(const LumPalStr::String_t& version) const;

    /// Whether the status is exactly "enabled" (or "disabled").
    bool IsEnabled() const;
    bool IsDisabled() const;
    void SetEnabled() const;
    void SetDisabled() const;

    int GetCategoryCount() const;
    /// @throws LumPalMsg::IllegalArgumentError_t 14 for a bad index
    LumPalStr::String_t GetCategory(int index) const;
    /// @return whether it was added: false for an empty text and for a category that is there (compared exactly)
    bool SetCategory(const LumPalStr::String_t& category) const;

    int GetAttributesCount() const;
    /// @throws LumPalMsg::IllegalArgumentError_t 15 for a bad index
    PolicyAttribute GetAttribute(int index) const;
    /// Adds a pair; blanks around both are dropped. A pair named "version_id" also supplies a missing version id.
    /// @return whether it was added: false when the same pair is there
    /// @throws LumPalMsg::IllegalArgumentError_t 70 for a blank name, 71 for a name with "="
    bool SetAttribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value) const;

    int GetDataFileCount() const;
    /// @throws LumPalMsg::IllegalArgumentError_t 16 for a bad index (all three)
    LumPalStr::String_t GetDataFile(int index) const;
    LumPalStr::String_t GetDataFileEncoding(int index) const;
    LumPalStr::String_t GetDataFileChecksum(int index) const;
    /// Appends a data file with the encoding "text/plain" and an empty checksum.
    void SetDataFile(const LumPalStr::String_t& name) const;
    /// Appends a data file; a null or blank encoding means "text/plain".
    void SetDataFile(const LumPalStr::String_t& name, const LumPalStr::String_t& encoding,
                     const LumPalStr::String_t& checksum) const;
    /// Replace what the last data file has; without data files they do nothing.
    void SetDataFileEncoding(const LumPalStr::String_t& encoding) const;
    void SetDataFileChecksum(const LumPalStr::String_t& checksum) const;

    /// The data files that a node did not find as plain files in its store when it last read the policy: at its start,
    /// at "reinit", or since it was installed (then there are none). Known of headers that a node listed; of all
    /// others, and of a node of an older version, there are none. What was taken away since then is not among them.
    int GetMissingDataFileCount() const;
    /// @throws LumPalMsg::IllegalArgumentError_t 16 for a bad index
    LumPalStr::String_t GetMissingDataFile(int index) const;

    /// Reads a data file of an installed policy and proves it: the certificate is valid, its holder may sign policies
    /// for this node (the right "sign"), a trusted certificate issued it, and the signature is right. Each call proves
    /// anew. Only headers that a container holds may read.
    /// @param data  the content. It is filled also when the proof fails, for types that may do without; every other
    ///              caller must not use it then
    /// @throws LumPalMsg::IllegalStateError_t 17 when reading is not allowed; LumPalMsg::IllegalArgumentError_t 16;
    ///         LumPalIo::FileNotFoundException_t 18; LumPalIo::IOException_t 19; for a proof that fails
    ///         LumSecCore::SecCoreException 33 with 20 to 31 in its details, or 32 for a key store that is not there
    void GetData(int index, LumPalArray::CharArray_t& data) const;
    void GetData(int index, LumPalArray::CharArray_t& data, LumPalStr::String_t& encoding) const;

    /// The decoded signature of a data file.
    /// @throws LumPalMsg::IllegalArgumentError_t 34 for an index that names no data file, 35 when the file has
    ///         no signature; LumPalIo::IOException_t for text that is no base64
    LumPalArray::CharArray_t GetSignature(int index) const;
    /// The decoded certificate. @throws LumPalIo::IOException_t for text that is no base64
    LumPalArray::CharArray_t GetCertificate() const;

    /// Reads a header document. One document at a time in the process: calls wait for each other.
    /// @throws PolicyHeaderException 88, 90; LumPalIo::FileNotFoundException_t 89
    static PolicyHeader Read(const LumPalIo::File_t& file);
    /// @param tolerance  sum of the bits of the elements that may be missing: 0x2 container_id, 0x4 name, 0x8 owner,
    ///                   0x10 version, 0x20 description, 0x40 status, 0x80 policytype, 0x100 type name, 0x200
    ///                   certificate
    static PolicyHeader Read(const LumPalIo::File_t& file, unsigned long tolerance);
    /// Reads a document that may lack any required element.
    /// @param missing  gets a message 73 to 83 for each one that it lacks
    static PolicyHeader Read(const LumPalIo::File_t& file, LumPalMsg::MessageList_t& missing);
    /// What of a document acts otherwise than it looks, a message for each: more than one "policy" element, of which
    /// the last one's values win; more than one "data" element, each of which gets all data files with every rewrite.
    /// The document may lack any required element. @throws as Read
    static LumPalMsg::MessageList_t FindWarnings(const LumPalIo::File_t& file);
    /// Writes a new document, unsigned; never over an existing file. Waits for Read and Write calls.
    /// @throws LumPalMsg::IllegalArgumentError_t 53 (null file); LumPalIo::IOException_t 54 (it exists);
    ///         LumPalIo::FileNotFoundException_t 55 (it cannot be made)
    static void Write(const LumPalIo::File_t& file, const PolicyHeader& header);

    /// Signs the data files, which lie beside the document, and puts the signatures and the certificate in it, in place
    /// of those that it holds; all else stays. With the node's own identity (CORE_ID), or with that of another own
    /// entry of the key store. The document is replaced at the very end, by copying over it.
    /// @throws LumPalMsg::IllegalArgumentError_t 36, 38; LumPalMsg::IllegalStateError_t 37; LumPalIo::IOException_t 39,
    ///         40, 46, 52; PolicyFileException 41, 51; PolicyHeaderException 43; LumSecCore::KeyStoreException 45;
    ///         LumPalMsg::RuntimeException_t 47, 49, 50; LumPalIo::FileNotFoundException_t 48
    static void SignData(const LumPalIo::File_t& headerFile);
    static void SignData(const LumPalIo::File_t& headerFile, const LumPalArray::CharArray_t& alias);

    /// The library's own: a handle on an existing record, never null; and the record.
    explicit PolicyHeader(PolicyHeaderImpl* impl);
    PolicyHeaderImpl* GetImpl() const noexcept { return impl.Get(); }

private:
    LumPalPtr::RefPtr_t<PolicyHeaderImpl> impl;
};

}  // namespace LumConf
