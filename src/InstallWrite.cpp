// How an accepted policy takes its place in the store, in the cache and in the queue.
#include "AuditLog.h"
#include "DirectoryImpl.h"
#include "Exceptions.h"
#include "InstallOptionsImpl.h"
#include "InstallTask.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyOperation.h"
#include "PolicyWriter.h"
#include "SharedDataFiles.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalStr::String_t;

namespace {

// A file that cannot be deleted is moved out of the way; where that fails too it stays.
void DeleteOrMoveAway(const File_t& file) {
    if (!file.Exists() && !file.IsSymbolicLink()) return;
    if (DirectoryImpl::DeleteFile(file)) return;
    if (DirectoryImpl::MoveAway(Folder_t(DirectoryImpl::FolderOf(file)), file.GetName())) return;
    LUMCONF_TRACE(trace::Policy, String_t("Cannot delete or rename ") + file.GetAbsolutePath());
}

/// A file that has another name too is none: it is somebody else's as well.
bool IsPlainFile(const File_t& folder, const String_t& name) {
    try {
        return Folder_t(folder).Look(name) == Folder_t::Entry::File;
    } catch (const LumPalIo::FileNotFoundException_t&) {
        return false;  // the folder has gone; who cannot look at it does not know
    }
}

void RefuseLink(const File_t& folder) {
    if (folder.IsSymbolicLink()) Raise<PolicyFileException>(msg::StoreFolderIsLink, folder.GetAbsolutePath());
}

}  // namespace

void InstallTask::ChangeByCluster() {
    try {
        operation.changeByCluster(newHeader.Get());
    } catch (const LumPalMsg::RuntimeException_t& e) {
        LUMCONF_TRACE(trace::Policy, Make(msg::ClusterStatusError, e).Format(LumPalMsg::Text | LumPalMsg::Details));
    }
}

// The last chance to refuse: what is installed is still whole.
void InstallTask::CheckFolders() const {
    RefuseLink(TypeFolder(newHeader->GetTypeName()));
    if (installedHeader) RefuseLink(TypeFolder(installedTypeName));
}

// What MoveOrCopyFile refuses it refuses when the old data is gone: PrepareHeader looks too.
void InstallTask::CheckDataFiles() const {
    for (const String_t& name : DataFiles(*newHeader)) {
        // A file that another install left there is not this policy's.
        if (carried.Has(name) && IsPlainFile(incoming, name)) continue;
        Raise<PolicyFileException>(msg::InstallDataFileMissing, File_t(incoming, name).GetAbsolutePath(),
                                   headerFile.GetAbsolutePath(), newHeader->GetContainerId());
    }
}

// A rewrite refuses such a document too, but only when the old data is gone.
void InstallTask::CheckSignatures() const {
    if (newHeader->GetSignatureCount() == newHeader->GetDataFileCount()) return;
    Raise<PolicyHeaderException>(msg::XmlSignatureCount);
}

// An installed document is no better than one from the wire: a type name that leads elsewhere is not followed.
bool InstallTask::HasOldFolder() const {
    return installedHeader && IsPlainName(installedTypeName);
}

void InstallTask::DeleteOldData() {
    if (!HasOldFolder()) return;
    for (const String_t& name : FormerDataFiles()) {
        if (IsPlainName(name)) DeleteOrMoveAway(File_t(TypeFolder(installedTypeName), name));
    }
}

std::vector<String_t> InstallTask::FormerDataFiles() const {
    std::vector<String_t> files = DataFiles(*installedHeader);
    std::erase_if(files, [this](const String_t& name) { return spared.count(name) > 0; });
    return files;
}

// All that needs room on the disk comes before the old data goes: a full disk costs nothing.
void InstallTask::PrepareHeader() {
    newDocument = DirectoryImpl::CreateTemporaryFile();
    writer = std::make_unique<PolicyWriter>(newDocument, headerFile, StreamOver(document), operation.installDirectory,
                                            newHeader.Get());
    writer->Prepare();
    if (IsPlainFile(DirectoryImpl::FolderOf(newDocument), newDocument.GetName())) return;
    Raise<LumPalIo::IOException_t>(msg::MovedFileNotPlain, newDocument.GetAbsolutePath());
}

// What the record speaks of is on the disk before the record is; the document already is.
void InstallTask::FlushWaiting() const {
    const std::vector<String_t> files = DataFiles(*newHeader);
    StoreJournal::FlushFiles(incoming, files);
    if (!files.empty()) Folder_t(incoming).Sync();
    Folder_t(DirectoryImpl::FolderOf(newDocument)).Sync();
}

StoreChange InstallTask::DescribeChange() const {
    const String_t type = newHeader->GetTypeName(), id = newHeader->GetContainerId();
    StoreChange change{type, id, {}, {}, {}};
    using Waiting = StoreChange::Waiting;
    change.placed.push_back({Waiting::Temporary, newDocument.GetName(), {type, id + names::HeaderFileSuffix}});
    for (const String_t& name : DataFiles(*newHeader)) change.placed.push_back({Waiting::Incoming, name, {type, name}});
    if (!installedHeader) return change;
    std::vector<StoreChange::StoredFile> former;
    for (const String_t& name : FormerDataFiles()) former.push_back({installedTypeName, name});
    const String_t formerHeader = installedHeader->GetContainerId() + names::HeaderFileSuffix;
    former.push_back({installedTypeName, formerHeader});
    former.push_back({type, formerHeader});
    change.DeleteUnlessPlaced(former);
    if (HasOldFolder() && options.GetForceAll()) change.emptied.push_back(installedTypeName);
    return change;
}

// A change of its own. Without it the documents of both would stay, and every start show one of them.
void InstallTask::RemoveDisplaced() {
    const HeaderPtr displaced = FindDisplaced();
    if (!displaced) return;
    LumPalMsg::MessageList_t failures;
    operation.RemovePolicy(originator, displaced->GetContainerId(), failures);
    // A document that somebody deleted need not be deleted.
    const bool gone = !DocumentBatch::PlaceOf(operation.installDirectory, *displaced).Exists();
    if (FindDisplaced() && !gone) throw PolicyFileException(failures);
    if (FindDisplaced()) operation.ForgetPolicy(originator, displaced->Snapshot());
    LUMCONF_TRACE(trace::Policy, failures.Format(LumPalMsg::Text | LumPalMsg::Details));
}

// From the record on a crash is followed by the whole of the new policy.
void InstallTask::Write() {
    if (installedHeader) spared = SharedDataFiles::Spare(*operation.Cache(), *installedHeader, newHeader.Get());
    const StoreJournal::Entry recorded = operation.journal.Record(DescribeChange());
    MakeTypeFolder();
    LogSharedDataFiles();
    DeleteOldData();
    WriteHeader();
    DeleteOldHeader();
    MoveDataFiles();
    FlushStore();
    KeepBooks();
    DeleteOldFolder();
}

// Needs room, so it comes before the old data goes.
void InstallTask::MakeTypeFolder() const {
    TypeFolder(newHeader->GetTypeName()).MakeFolders();
}

void InstallTask::LogSharedDataFiles() const {
    SharedDataFiles::LogReplaced(*operation.Cache(), *newHeader, installedHeader.Get());
    if (!installedHeader) return;
    SharedDataFiles::LogLeft(*operation.Cache(), *installedHeader, spared, newHeader.Get());
}

void InstallTask::FlushStore() const {
    std::vector<String_t> types{newHeader->GetTypeName()};
    if (HasOldFolder() && installedTypeName != types.front()) types.push_back(installedTypeName);
    StoreJournal::Flush(types);
}

void InstallTask::WriteHeader() {
    writer->Write(IsPlainName(installedPolicyId) ? installedPolicyId : String_t(""));
}

// Behind the new header's move, so that a failure of that leaves the old one.
void InstallTask::DeleteOldHeader() {
    if (!HasOldFolder()) return;
    const String_t& oldId = installedHeader->GetContainerId();
    if (oldId == newHeader->GetContainerId() && installedTypeName == newHeader->GetTypeName()) return;
    const String_t name = oldId + names::HeaderFileSuffix;
    if (IsPlainName(name)) DeleteOrMoveAway(File_t(TypeFolder(installedTypeName), name));
}

void InstallTask::MoveDataFiles() {
    const File_t folder = TypeFolder(newHeader->GetTypeName());
    for (const String_t& name : DataFiles(*newHeader)) {
        DirectoryImpl::MoveOrCopyFile(File_t(incoming, name), File_t(folder, name));
    }
    if (carried.GetCount() > DataFiles(*newHeader).size() + 1) DeleteUnpacked();
}

void InstallTask::KeepBooks() {
    const String_t type = newHeader->GetTypeName();
    const String_t id = newHeader->GetContainerId();
    if (!operation.IsPolicyTypeNameInstalled(type)) operation.notifications.AddFirstPolicy(type);
    operation.notifications.AddInstall(type, id);
    ForgetOldSettings();
    operation.Audit(originator, newHeader->GetName(), id, AuditLog::Install, AuditLog::Outcome::Success);
    operation.Cache()->Insert(newHeader.Get());
    operation.unwritten.Forget(id);
    if (installedHeader) operation.unwritten.Forget(installedHeader->GetContainerId());
}

// The consumer of settings policies is this node itself, and keeps them in memory: of one that has become a policy of
// another type or of another id, nothing must stay in force. Other consumers are told of the new policy alone.
void InstallTask::ForgetOldSettings() {
    if (!installedHeader || installedTypeName != names::SettingsTypeName) return;
    const String_t& oldId = installedHeader->GetContainerId();
    if (oldId == newHeader->GetContainerId() && installedTypeName == newHeader->GetTypeName()) return;
    operation.notifications.AddRemove(installedTypeName, oldId);
}

void InstallTask::DeleteOldFolder() {
    if (!HasOldFolder() || !options.GetForceAll()) return;
    if (operation.IsPolicyTypeNameInstalled(installedTypeName)) return;
    if (TypeFolder(installedTypeName).Delete()) StoreJournal::Flush({installedTypeName});
}

void InstallTask::Notify() {
    if (options.GetNotify()) operation.notifications.Send();
}

}  // namespace LumConf
