/// @file
/// One install of one policy.
#pragma once

#include <memory>
#include <vector>

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalPtr.h"
#include "LumPalStr.h"
#include "PolicyArrayReader.h"
#include "PolicyHeaderImpl.h"
#include "PolicyOperation.h"
#include "SharedDataFiles.h"
#include "StoreChange.h"

namespace LumConf {

class InstallOptionsImpl;
class PolicyException;
class PolicyWriter;

/// Takes one policy into the store. Used once, under the mutex of the operation, which outlives it.
///
/// Its functions are its steps, in their order: unpack into the incoming directory; parse and apply the options; find
/// what is installed and decide; write; keep the books. Up to FlushWaiting what is installed is untouched, but for the
/// policies of a limited type that a forced install removes.
/// From DeleteOldData on the old policy's data is gone, and after a failure nothing brings it back; the cache then
/// still holds the old header until KeepBooks. A crash from there on is another matter: the change is recorded, and the
/// next start finishes it. A policy that is refused when its document was read leaves nothing in the incoming
/// directory, nor does one that was installed, nor one that the disk had no room for. Of a document without a required
/// element only the document goes; another failure leaves all files of the policy there until the next start.
class InstallTask {
public:
    InstallTask(PolicyOperation& operation, const LumPalStr::String_t& originator, const InstallOptionsImpl& options);
    ~InstallTask();
    InstallTask(const InstallTask&) = delete;
    InstallTask& operator=(const InstallTask&) = delete;

    /// @param array  stands at a policy array; afterwards behind it, unless ConfException UnpackError was raised
    /// @throws as PolicyOperation::Install; LumPalMsg::IllegalStateError_t without the mutex
    void Run(TransferCursor& array);

private:
    using String_t = LumPalStr::String_t;
    using HeaderPtr = LumPalPtr::RefPtr_t<PolicyHeaderImpl>;

    // InstallTask.cpp
    void RunSteps(TransferCursor& array) LUMPAL_REQUIRES(operation.mutex);
    void Unpack(TransferCursor& array) LUMPAL_REQUIRES(operation.mutex);
    void UnpackFiles(TransferCursor& array) LUMPAL_REQUIRES(operation.mutex);
    void InstallUnpacked() LUMPAL_REQUIRES(operation.mutex);
    void Parse();
    void CheckNames() const;
    void CleanUp(const PolicyException& cause) LUMPAL_REQUIRES(operation.mutex);
    void DeleteIncoming(const String_t& name) const;
    void DeleteUnpacked() const;
    void GiveRoomBack() LUMPAL_REQUIRES(operation.mutex);
    void AuditFailure() const;

    // InstallDecision.cpp
    void ApplyOptions();
    void ApplyOwner();
    void ApplyStatus();
    void ApplyCategories();
    void ApplyAttributes();
    void FindInstalled();
    HeaderPtr FindDisplaced() const;
    void Decide() LUMPAL_REQUIRES(operation.mutex);
    void CheckSharedDataFiles() const;
    void DecideUpdate();
    void CheckType() const;
    void CheckOwner() const;
    void CheckOwnerOf(const PolicyHeaderImpl& replaced) const;
    void CheckVersion() const;
    void TakeOverStatus();
    void TakeOverCategories();
    void TakeOverAttributes();
    void DecideNew() LUMPAL_REQUIRES(operation.mutex);
    bool IsTypeLimited() const;
    void RemoveWholeType() LUMPAL_REQUIRES(operation.mutex);

    // InstallWrite.cpp
    void ChangeByCluster();
    void CheckFolders() const;
    void CheckDataFiles() const;
    void CheckSignatures() const;
    bool HasOldFolder() const;
    void PrepareHeader();
    void FlushWaiting() const;
    std::vector<String_t> FormerDataFiles() const;
    StoreChange DescribeChange() const;
    void RemoveDisplaced() LUMPAL_REQUIRES(operation.mutex);
    void Write() LUMPAL_REQUIRES(operation.mutex);
    void LogSharedDataFiles() const;
    void MakeTypeFolder() const;
    void DeleteOldData();
    void WriteHeader();
    void DeleteOldHeader();
    void MoveDataFiles();
    void FlushStore() const;
    void KeepBooks() LUMPAL_REQUIRES(operation.mutex);
    void ForgetOldSettings() LUMPAL_REQUIRES(operation.mutex);
    void DeleteOldFolder();
    void Notify() LUMPAL_REQUIRES(operation.mutex);

    LumPalIo::File_t TypeFolder(const String_t& typeName) const;
    std::vector<String_t> DataFiles(const PolicyHeaderImpl& header) const;

    PolicyOperation& operation;
    const String_t originator;
    const InstallOptionsImpl& options;
    const LumPalIo::File_t incoming;

    std::string_view document;     ///< of the array, which outlives the task
    LumPalIo::File_t headerFile;   ///< in the incoming directory; null until its name is known
    LumPalIo::File_t newDocument;  ///< in the temporary directory; null until it was made
    CarriedNames carried;          ///< the files that this policy brought
    HeaderPtr newHeader;           ///< null until the document was read
    HeaderPtr installedHeader;     ///< null for a new policy
    String_t installedPolicyId;    ///< empty unless the installed policy was found by name and type
    String_t installedTypeName;
    SharedDataFiles::Names spared;         ///< of the installed data files: what stays for others; empty until Write
    std::unique_ptr<PolicyWriter> writer;  ///< null until the new document was made
};

}  // namespace LumConf
