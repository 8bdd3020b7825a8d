/// @file
/// The one object through which every change to the installed policies goes.
#pragma once

#include <functional>
#include <vector>

#include "AuditLog.h"
#include "DocumentBatch.h"
#include "Export.h"
#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalPlainMutex.h"
#include "LumPalPtr.h"
#include "LumPalStr.h"
#include "NotifyStore.h"
#include "PolicyContainerImpl.h"
#include "PolicyForwarder.h"
#include "PolicyJob.h"
#include "StoreJournal.h"
#include "StoredPolicy.h"
#include "UnwrittenChanges.h"

namespace LumConf {

class InstallOptions;
class InstallTask;
class PolicyContainer;
class Selection;
class TransferCursor;
struct MessageRow;

/// Owns the cache (the header of every installed policy), the queue of notifications and the mutex that serialises
/// all changes. A policy of type T with id I is the document <install directory>/T/I_header.xml with its data files
/// beside it. `originator` is who asked; only the audit log gets it.
///
/// Any thread may call any operation. Those that change or list hold one mutex from start to end, also over file work
/// and over the call to the control service: with synchronous notification a slow consumer holds up all of them. A
/// package lets it go between two of its policies, and whoever waits comes in. When the process is stopping
/// (LumPalRuntime::SetStopping), a package and a removal of several policies end between two of them.
/// IsPolicyInstalled and IsPolicyTypeNameInstalled do not take it and answer at any time.
class LUMCONF_API PolicyOperation {
public:
    /// What the object leaves to others, who outlive it.
    struct Surroundings {
        JobSink jobs;  ///< takes what became of settings policies
        /// Called when the cache is loaded: starts who works the jobs off. What it raises ends the creation.
        std::function<void()> startJobs;
        /// What an install lets the cluster do to the status of its policy; a LumPalMsg::RuntimeException_t is passed
        /// over.
        std::function<void(PolicyHeaderImpl*)> changeByCluster;
        std::function<AuditLog&()> auditLog;  ///< called last of all: until then nothing is audited
    };

    /// The process's object, never destroyed. The first call makes it, whoever calls; when that fails the next call
    /// tries again. Where a node is put together says what surrounds it. The process takes the lock of the root, and
    /// keeps it (LumPalRuntime::RootLock_t).
    /// @throws LumPalMsg::IllegalStateError_t while another process has that lock, and nothing is touched then
    /// @throws as the constructor
    static PolicyOperation* GetInstance();

    /// Finishes a change that a crash interrupted, wipes the incoming and the temporary directory, makes the
    /// directories, loads the cache, has the jobs started, takes the audit log. Headers that cannot be read are logged
    /// in the application log (CacheNotInitializedAtStart) and left out. What the incoming directory holds in folders
    /// below it is not touched.
    /// @throws LumPalIo::IOException_t when an interrupted change cannot be finished, or with a message for each
    ///         directory that cannot be made (IncomingDirectoryNotCreated, TemporaryDirectoryNotCreated,
    ///         InstallDirectoryNotCreated, BaseDirectoryNotCreated); LumPalMsg::RuntimeException_t CacheNotRead; what
    ///         the surroundings raise
    explicit PolicyOperation(Surroundings surroundings);
    ~PolicyOperation();
    PolicyOperation(const PolicyOperation&) = delete;
    PolicyOperation& operator=(const PolicyOperation&) = delete;

    /// The selected policies, in ascending order of their ids. The container is the caller's; its headers are shared
    /// with the cache.
    /// @param dataFiles  if any, only the policies that name one of them; found without looking at all others
    /// @throws NoPoliciesInstalledError NoPoliciesInstalled, PolicyNotFoundError ListNoPolicyFiles
    PolicyContainer GetPolicyContainer(const LumPalStr::String_t& originator, const Selection& selection,
                                       const std::vector<LumPalStr::String_t>& dataFiles = {});

    /// The documents of the selected policies with their data files, or with the digests of these, as a package of the
    /// transfer format (StoredFilesPack::Add); one that goes meanwhile is left out. Each is read while nothing changes
    /// it; between two of them others are served.
    /// @throws as GetPolicyContainer, StoredFilesPack::Add
    LumPalArray::CharArray_t PackStored(const LumPalStr::String_t& originator, const Selection& selection,
                                        StoredFiles what);

    /// Removes the selected policies, one after another. What could be removed stays removed; a failed notification is
    /// not reported.
    /// @throws NoPoliciesInstalledError NoPoliciesInstalled; PolicyNotFoundError RemoveNoPolicyFiles, and
    ///         PolicyIdNotInCache for an id that is not installed; PolicyException with a warning for each file that
    ///         was missing or could not be deleted, or RemovalGivenUp when the process is stopping
    void Remove(const LumPalStr::String_t& originator, const Selection& selection,
                const PolicyForwarder::Options& options);

    /// What an operation does to the headers of the selected policies.
    enum Action : int {
        Disable = 1,
        Enable = 2,
        AddCategory = 3,
        RemoveCategory = 4,
        AddAttribute = 5,
        RemoveAttribute = 6
    };

    // The operations that change headers: those policies that the change concerns are changed in the cache, then
    // rewritten in the store, then queued for their consumers, one after another. Nothing is rolled back: after a
    // failure the policies before it stay changed, and the one it met has the change in the cache alone, until the next
    // operation of this kind that selects it writes it down, whatever else that one finds to do. Where a document
    // cannot be moved or a flush fails, so have others that were to be written together with it. A failed
    // notification is not reported. All raise what PolicyWriter does for a document that cannot be rewritten,
    // LumPalIo::FileNotFoundException_t for one that is gone, and PolicyNotFoundError PolicyIdNotInCache for an id that
    // is not installed. The data files are not touched.

    /// @param action  Enable; every other number disables
    /// @throws NoPoliciesInstalledError NoPoliciesInstalled, PolicyNotFoundError StatusNoPolicyFiles, NoPolicyOperation
    ///         StatusAlreadySet
    void SetStatus(const LumPalStr::String_t& originator, const Selection& selection, int action,
                   const PolicyForwarder::Options& options);
    /// @throws PolicyNotFoundError OwnerNoPolicyFiles; NoPolicyOperation OwnerAlreadySet (one policy selected),
    ///         OwnerAlreadySetForAll
    void SetOwner(const LumPalStr::String_t& originator, const LumPalStr::String_t& owner, const Selection& selection,
                  const PolicyForwarder::Options& options);
    /// From the first policy on that changes, the following ones are rewritten and notified too, changed or not.
    /// @param categories  names parted by blanks
    /// @param action      AddCategory or RemoveCategory
    /// @throws LumPalMsg::IllegalStateError_t CategoryOperationNotPossible for another action; PolicyNotFoundError
    ///         CategoryNoPolicyFiles
    void ModifyCategory(const LumPalStr::String_t& originator, const LumPalStr::String_t& categories,
                        const Selection& selection, const PolicyForwarder::Options& options, Action action);
    /// @throws PolicyNotFoundError CategoryNoPolicyFiles, CategoryNone
    void RemoveAllCategories(const LumPalStr::String_t& originator, const Selection& selection,
                             const PolicyForwarder::Options& options);
    /// @param attribute  name=value; without "=" the text is both the name and the value
    /// @param action     AddAttribute or RemoveAttribute
    /// @throws LumPalMsg::IllegalStateError_t AttributeOperationNotPossible for another action; PolicyNotFoundError
    ///         AttributeNoPolicyFiles, AttributeModifyNoPolicyFiles; LumPalMsg::IllegalArgumentError_t AttributeEmpty,
    ///         AttributeWithBadText for a bad name or value
    void ModifyAttributes(const LumPalStr::String_t& originator, LumPalStr::String_t attribute,
                          const Selection& selection, const PolicyForwarder::Options& options, Action action);
    /// @throws PolicyNotFoundError AttributeRemoveAllNoPolicyFiles
    void RemoveAllAttributes(const LumPalStr::String_t& originator, const Selection& selection,
                             const PolicyForwarder::Options& options);

    /// Takes one policy into the store.
    /// @param data  a policy array (PolicyUtil.h); it must stay as it is during the call
    /// @throws ConfException UnpackError (bad array), InstallNotBegun (a large one, when the process is stopping);
    ///         PolicyException InstalledWithOtherType, PolicyOwnerError
    ///         OwnerDoesNotMatch, PolicyVersionError VersionNotHigher, NoMultiplePoliciesException
    ///         TypeLimitedToOnePolicy, PolicyFileException InstallDataFileMissing or without number for a refused name,
    ///         PolicyHeaderException for a bad document, LumPalXml::SAX::SAXParseException_t for a malformed one,
    ///         LumPalIo::IOException_t for file work; LumCtrl::ControlException NotificationsNotSent when the policy is
    ///         installed but not everybody could be notified
    void Install(const LumPalStr::String_t& originator, const LumPalArray::CharArray_t& data, InstallOptions& options);

    /// Takes the policies of a package, one after another, and then sends what is queued.
    /// @param options  `notify` is false during the installs, and after a failure that ends the package
    /// @throws as Install; ConfException PackageGivenUp when the process is stopping: what is installed by then is sent
    ///         where `notify` says so; a policy whose type is limited to one does not end the package, but the package
    ///         then ends in NoMultiplePoliciesException PackageInstallFailed
    void InstallPackage(const LumPalStr::String_t& originator, const LumPalArray::CharArray_t& data,
                        InstallOptions& options);

    /// Whether any policy is installed, or any of exactly this type. Wait for no operation.
    bool IsPolicyInstalled() const;
    bool IsPolicyTypeNameInstalled(const LumPalStr::String_t& typeName) const;

    /// How many policies there are of each status. Waits for no operation.
    PolicyContainerImpl::Counts CountByStatus() const { return Cache()->CountByStatus(); }

    /// Loads the cache anew from the store. Headers that cannot be read are logged in the application log
    /// (CacheNotReinitialized) and left out. Containers that were handed out stay as they are.
    /// @throws LumPalMsg::RuntimeException_t CacheNotRead when the store cannot be listed; the cache then stays as it
    ///         was
    void ReinitCache(const LumPalStr::String_t& originator);

    /// Sends everything that is queued, or only what is queued for enabled and disabled policies; the second first
    /// writes what an earlier change could not write, as a retry of the change does.
    /// @throws LumCtrl::ControlException NotificationsNotSent
    void Notify(const LumPalStr::String_t& originator);
    void NotifyEnableDisable(const LumPalStr::String_t& originator);

    /// Makes the file `directory`/`name` from the next `length` bytes of the stream; one that stands there goes first.
    /// @param keep  the bytes also become the current policy document
    /// @throws PolicyFileException for a name that is not plain or a place that cannot be freed;
    ///         LumPalIo::EOFException_t when the stream is too short; LumPalIo::IOException_t The caller holds the
    ///         mutex, or is the only one. The bytes are not flushed.
    void CreateFile(const LumPalIo::File_t& directory, const LumPalStr::String_t& name, LumPalIo::InputStream_t& stream,
                    unsigned length, bool keep) LUMPAL_REQUIRES(mutex);

private:
    friend class InstallTask;
    using Outcome = AuditLog::Outcome;
    using CachePtr = LumPalPtr::RefPtr_t<PolicyContainerImpl>;

    static void WipeWorkFolders();
    void MakeDirectories();
    void LoadAtStart();
    CachePtr Cache() const;
    void SetCache(CachePtr container);
    std::vector<LumPalStr::String_t> SelectIds(const Selection& selection) const {
        return SelectIds(Cache(), selection);
    }
    static std::vector<LumPalStr::String_t> SelectIds(const CachePtr& from, const Selection& selection);
    void RequirePolicies(const LumPalStr::String_t& originator, AuditLog::Mode auditMode) LUMPAL_REQUIRES(mutex);
    /// What a removal of several policies does when the process is stopping.
    enum class AtStop { End, GoOn };
    void RemoveSelected(const LumPalStr::String_t& originator, const Selection& selection,
                        const PolicyForwarder::Options& options, AtStop atStop) LUMPAL_REQUIRES(mutex);
    /// @return whether the node has the policy no more
    bool RemovePolicy(const LumPalStr::String_t& originator, const LumPalStr::String_t& id,
                      LumPalMsg::MessageList_t& failures) LUMPAL_REQUIRES(mutex);
    void RemoveDataFile(const LumPalStr::String_t& originator, const PolicyRecord& policy,
                        const LumPalStr::String_t& name, LumPalMsg::MessageList_t& failures) const;
    bool RemoveHeaderFile(const LumPalStr::String_t& originator, const PolicyRecord& policy,
                          LumPalMsg::MessageList_t& failures) const;
    void ForgetPolicy(const LumPalStr::String_t& originator, const PolicyRecord& policy) LUMPAL_REQUIRES(mutex);
    void DeleteLeftovers() LUMPAL_REQUIRES(mutex);
    void SendUnreported() LUMPAL_REQUIRES(mutex);
    using Ids = std::vector<LumPalStr::String_t>;
    using Concerned = std::function<bool(const PolicyHeaderImpl&)>;
    struct HeaderChange;
    struct Changing;
    Ids SelectFor(const LumPalStr::String_t& originator, const Selection& selection, AuditLog::Mode auditMode,
                  const MessageRow& noneFound, const PolicyForwarder::Options& options) LUMPAL_REQUIRES(mutex);
    Ids Narrow(const Ids& ids, const Concerned& concerned) const;
    bool ChangeHeaders(const LumPalStr::String_t& originator, const Ids& selected, const Ids& ids,
                       const HeaderChange& change, const PolicyForwarder::Options& options) LUMPAL_REQUIRES(mutex);
    void ChangeSome(const LumPalStr::String_t& originator, const Ids& ids, const HeaderChange& change,
                    Changing& progress) LUMPAL_REQUIRES(mutex);
    void ChangeNext(const LumPalStr::String_t& id, bool again, const HeaderChange& change, DocumentBatch& documents,
                    Changing& progress) LUMPAL_REQUIRES(mutex);
    bool ChangeHeader(const DocumentBatch::HeaderPtr& header, const HeaderChange& change, DocumentBatch& documents)
        LUMPAL_REQUIRES(mutex);
    void ReportWritten(const LumPalStr::String_t& originator, const PolicyHeaderImpl& header,
                       const UnwrittenChanges::Reports& reports) LUMPAL_REQUIRES(mutex);
    void AuditFailure(const LumPalStr::String_t& originator, const LumPalStr::String_t& name,
                      const LumPalStr::String_t& id, const HeaderChange& change) const;
    void WriteUnwritten(const LumPalStr::String_t& originator, const Ids& ids, const PolicyForwarder::Options& options)
        LUMPAL_REQUIRES(mutex);
    bool WriteAgain(const LumPalStr::String_t& originator, const LumPalStr::String_t& id) LUMPAL_REQUIRES(mutex);
    void RewriteDocument(const DocumentBatch::HeaderPtr& header) const;
    void RaiseOwnerSet(const Ids& selected, const LumPalStr::String_t& owner) const;
    void InstallOne(const LumPalStr::String_t& originator, TransferCursor& array, const InstallOptions& options);
    LumPalMsg::MessageList_t InstallEach(const LumPalStr::String_t& originator, TransferCursor& package, int policies,
                                         const InstallOptions& options);
    void SendAudited(const LumPalStr::String_t& originator, void (NotifyStore::*send)());
    void Audit(const LumPalStr::String_t& originator, AuditLog::Mode mode, Outcome outcome) const;
    void Audit(const LumPalStr::String_t& originator, const LumPalStr::String_t& name, const LumPalStr::String_t& id,
               AuditLog::Mode mode, Outcome outcome) const;

    // Constant after construction.
    LumPalIo::File_t installDirectory;
    LumPalIo::File_t baseDirectory;
    AuditLog* auditLog = nullptr;  ///< null until the very end of creation

    const std::function<void(PolicyHeaderImpl*)> changeByCluster;

    LumPalThread::Mutex_t mutex;  ///< its holder may lock it again: an install removes
    LumPalArray::CharArray_t currentPolicy LUMPAL_GUARDED_BY(mutex);  ///< the document that CreateFile kept
    NotifyStore notifications LUMPAL_GUARDED_BY(mutex);
    StoreJournal journal LUMPAL_GUARDED_BY(mutex);
    std::vector<LumPalIo::File_t> leftovers
        LUMPAL_GUARDED_BY(mutex);  ///< of installs that found no room: what could not be deleted at once
    /// Policies whose documents could not be rewritten: the cache holds a change that the disk does not.
    UnwrittenChanges unwritten LUMPAL_GUARDED_BY(mutex);

    // The cache's handle has a mutex of its own, a leaf held only to copy or to exchange the handle, so that readers
    // need not wait for an operation. A container is let go by whoever holds it last: a reader that looks into one
    // while ReinitCache exchanges it keeps it alive until it has its answer. So besides the current container there is
    // never more than one for each reader at work.
    mutable LumPalThread::PlainMutex_t cacheMutex;
    CachePtr cache LUMPAL_GUARDED_BY(cacheMutex);
};

}  // namespace LumConf
