#include "PolicyOperation.h"

#include <utility>

#include "DirectoryImpl.h"
#include "Exceptions.h"
#include "FilePermission.h"
#include "LumCtrl.h"
#include "LumPalLog.h"
#include "LumPalWhole.h"
#include "Messages.h"
#include "MissingDataFiles.h"
#include "PlainName.h"
#include "PolicyContainer.h"
#include "SelectionContainer.h"
#include "SharedDataFiles.h"
#include "StorePaths.h"
#include "StoreSweep.h"
#include "StoredFilesPack.h"
#include "Trace.h"

namespace LumConf {
namespace {

using LumPalIo::File_t;
using LumPalMsg::Message_t;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

void LogAndTrace(const Message_t& message) {
    LUMCONF_TRACE(trace::Policy, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    LumPalLog::Log(message);
}

template <unsigned Holes>
void MakeOrCollect(const File_t& directory, const MessageOf<Holes>& row, MessageList_t& failures) {
    if (!DirectoryImpl::MakeDirectory(directory)) failures.Add(Make(row, directory.GetAbsolutePath()));
}

void CopyBytes(LumPalIo::InputStream_t& from, LumPalIo::OutputStream_t& to, std::size_t length) {
    if (LumPalIo::Copy(from, to, length) != length) Raise<LumPalIo::EOFException_t>(msg::TransferEnded);
}

LumPalArray::CharArray_t ReadBytes(LumPalIo::InputStream_t& from, std::size_t length) {
    LumPalArray::CharArray_t bytes(length);
    if (length > 0 && from.Read(bytes) != static_cast<std::int64_t>(length)) {
        Raise<LumPalIo::EOFException_t>(msg::TransferEnded);
    }
    return bytes;
}

// A symbolic link is deleted, never written through: what it points to may be anywhere.
void FreePlace(const LumPalIo::Folder_t& folder, const String_t& name) {
    if (folder.Look(name) == LumPalIo::Folder_t::Entry::None || folder.Delete(name)) return;
    Raise<PolicyFileException>(msg::UnpackedFileNotMade, folder.Path(name).GetAbsolutePath());
}

// A policy that is given several times is there once, and one that is not there is left out.
PolicyContainer Pick(const PolicyContainerImpl& from, const std::vector<String_t>& ids) {
    PolicyContainer picked;
    picked.GetImpl()->Reserve(ids.size());
    const PolicyHeaderImpl* last = nullptr;
    for (const PolicyContainerImpl::HeaderPtr& header : from.FindAll(ids)) {
        if (header && header.Get() != last) picked.Insert(header.Get());
        last = header.Get();
    }
    return picked;
}

}  // namespace

PolicyOperation::PolicyOperation(Surroundings surroundings)
    : changeByCluster(std::move(surroundings.changeByCluster)), notifications(std::move(surroundings.jobs)) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation");
    StoreJournal::FinishInterrupted();
    WipeWorkFolders();
    MakeDirectories();
    LoadAtStart();
    surroundings.startJobs();
    auditLog = &surroundings.auditLog();
}

PolicyOperation::~PolicyOperation() = default;

void PolicyOperation::WipeWorkFolders() {
    DirectoryImpl::DeleteDirectory(paths::IncomingDirectory());
    DirectoryImpl::DeleteDirectory(paths::TemporaryDirectory());
}

void PolicyOperation::MakeDirectories() {
    installDirectory = paths::PolicyInstallDirectory();
    baseDirectory = paths::BaseDirectory();
    MessageList_t failures;
    MakeOrCollect(paths::IncomingDirectory(), msg::IncomingDirectoryNotCreated, failures);
    MakeOrCollect(paths::TemporaryDirectory(), msg::TemporaryDirectoryNotCreated, failures);
    MakeOrCollect(installDirectory, msg::InstallDirectoryNotCreated, failures);
    MakeOrCollect(baseDirectory, msg::BaseDirectoryNotCreated, failures);
    if (failures.GetMessageCount() > 0) throw LumPalIo::IOException_t(failures);
}

void PolicyOperation::LoadAtStart() {
    const CachePtr loaded(new PolicyContainerImpl);
    SetCache(loaded);
    try {
        loaded->CheckPolicy(PolicyContainer::Options());
    } catch (const PolicyFileException& e) {
        LogAndTrace(Make(msg::CacheNotInitializedAtStart, e));
    }
    DeleteAsideCopies(*loaded);
    MissingDataFiles::Mark(*loaded);
    SharedDataFiles::GetRule();  // a word that is none is said now, not when it is needed
}

PolicyOperation::CachePtr PolicyOperation::Cache() const {
    const LumPalThread::PlainLock_t lock(cacheMutex);
    return cache;
}

// The container that goes is let go behind the lock: freeing many headers takes time.
void PolicyOperation::SetCache(CachePtr container) {
    const LumPalThread::PlainLock_t lock(cacheMutex);
    std::swap(cache, container);
}

bool PolicyOperation::IsPolicyInstalled() const {
    return !Cache()->IsEmpty();
}

bool PolicyOperation::IsPolicyTypeNameInstalled(const String_t& typeName) const {
    return Cache()->HasTypeName(typeName);
}

void PolicyOperation::RequirePolicies(const String_t& originator, AuditLog::Mode auditMode) {
    if (!Cache()->IsEmpty()) return;
    // Kept: an empty store counts as a success in the audit log.
    Audit(originator, auditMode, Outcome::Success);
    Raise<NoPoliciesInstalledError>(msg::NoPoliciesInstalled);
}

std::vector<String_t> PolicyOperation::SelectIds(const CachePtr& from, const Selection& selection) {
    SelectionContainer selected;
    selected.Init(PolicyContainer(from.Get()), selection);
    return selected.TakeIds();
}

PolicyContainer PolicyOperation::GetPolicyContainer(const String_t& originator, const Selection& selection,
                                                    const std::vector<String_t>& dataFiles) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::GetPolicyContainer");
    MutexLock_t lock(mutex);
    RequirePolicies(originator, AuditLog::List);
    const CachePtr from = dataFiles.empty() ? Cache() : Cache()->Naming(dataFiles);
    const std::vector<String_t> ids = SelectIds(from, selection);
    if (ids.empty()) {
        Audit(originator, AuditLog::List,
              Outcome::Success);  // kept: nothing found counts as a success in the audit log
        Raise<PolicyNotFoundError>(msg::ListNoPolicyFiles);
    }
    const PolicyContainer result = Pick(*from, ids);
    Audit(originator, AuditLog::List, Outcome::Success);
    return result;
}

LumPalArray::CharArray_t PolicyOperation::PackStored(const String_t& originator, const Selection& selection,
                                                     StoredFiles what) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::PackStored");
    const PolicyContainer policies = GetPolicyContainer(originator, selection);
    StoredFilesPack pack(what);
    for (int i = 0; i < policies.GetCount(); ++i) {
        const MutexLock_t lock(mutex);
        // What was installed anew since the selection was made is in the cache now.
        const auto header = Cache()->Find(policies.GetPolicyHeader(i).GetContainerId());
        if (header) pack.Add(installDirectory, header->Snapshot());
    }
    return pack.Take();
}

void PolicyOperation::ReinitCache(const String_t& originator) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::ReinitCache");
    MutexLock_t lock(mutex);
    // Readers without the mutex are answered from the old cache until the new one is complete.
    CachePtr fresh(new PolicyContainerImpl);
    try {
        fresh->CheckPolicy(PolicyContainer::Options());
        MissingDataFiles::Mark(*fresh);
        SetCache(fresh);
        unwritten.Clear();
        Audit(originator, AuditLog::Reinit, Outcome::Success);
    } catch (const PolicyFileException& e) {
        MissingDataFiles::Mark(*fresh);
        SetCache(fresh);
        unwritten.Clear();
        LogAndTrace(Make(msg::CacheNotReinitialized, e));
        Audit(originator, AuditLog::Reinit, Outcome::Failure);
    }
}

void PolicyOperation::Notify(const String_t& originator) {
    SendAudited(originator, &NotifyStore::Send);
}

/// Nobody asks again for a status that the cache holds already: what a failure kept from the disk is written here.
void PolicyOperation::NotifyEnableDisable(const String_t& originator) {
    MutexLock_t lock(mutex);
    PolicyForwarder::Options options;
    options.SetNotify(false);  // it is reported with the others
    std::exception_ptr failure;
    try {
        WriteUnwritten(originator, unwritten.GetIds(), options);
    } catch (const LumPalMsg::Exception_t&) {
        failure = std::current_exception();
    }
    SendAudited(originator, &NotifyStore::SendEnableDisable);
    if (failure) std::rethrow_exception(failure);
}

void PolicyOperation::SendAudited(const String_t& originator, void (NotifyStore::*send)()) {
    MutexLock_t lock(mutex);
    try {
        (notifications.*send)();
    } catch (const LumPalMsg::Exception_t&) {
        Audit(originator, AuditLog::Notify, Outcome::Failure);
        throw;
    }
    Audit(originator, AuditLog::Notify, Outcome::Success);
}

void PolicyOperation::CreateFile(const File_t& directory, const String_t& name, LumPalIo::InputStream_t& stream,
                                 unsigned length, bool keep) {
    CheckPlainName(name);
    const LumPalIo::Folder_t folder(directory);
    FreePlace(folder, name);
    LumPalIo::FileOutputStream_t out = folder.Create(name);
    if (keep) {
        currentPolicy = ReadBytes(stream, length);
        out.Write(currentPolicy);
    } else {
        CopyBytes(stream, out, length);
        out.SetMode(FilePermissionSet::Protected().GetMode());  // as it will rest: flushed with its bytes
    }
    out.Close();
}

void PolicyOperation::DeleteLeftovers() {
    for (const File_t& file : std::exchange(leftovers, {})) {
        if (file.Exists() && !DirectoryImpl::DeleteFile(file)) leftovers.push_back(file);
    }
}

void PolicyOperation::Audit(const String_t& originator, AuditLog::Mode mode, Outcome outcome) const {
    if (auditLog) auditLog->Log(originator, mode, outcome);
}

void PolicyOperation::Audit(const String_t& originator, const String_t& name, const String_t& id, AuditLog::Mode mode,
                            Outcome outcome) const {
    if (auditLog) auditLog->Log(originator, name, id, mode, outcome);
}

}  // namespace LumConf
