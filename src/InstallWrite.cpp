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
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

// A file that cannot be deleted is moved out of the way; where that fails too it stays.
void DeleteOrMoveAway(const File_t& file) {
    if (!file.Exists() && !file.IsSymbolicLink()) return;
    if (DirectoryImpl::DeleteFile(file)) return;
    const File_t place = DirectoryImpl::CreateTemporaryFile();
    if (file.RenameTo(place)) return;
    place.Delete();
    LUMCONF_TRACE(trace::Policy, String_t("Cannot delete or rename ") + file.GetAbsolutePath());
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

void InstallTask::CheckDataFiles() const {
    for (const String_t& name : DataFiles(*newHeader)) {
        const File_t file(incoming, name);
        // A file that another install left there is not this policy's.
        if (carried.Has(name) && file.Exists() && !file.IsDirectory() && !file.IsSymbolicLink()) continue;
        Raise<PolicyFileException>(msg::InstallDataFileMissing, file.GetAbsolutePath(), headerFile.GetAbsolutePath(),
                                   newHeader->GetContainerId());
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
    for (const String_t& name : DataFiles(*installedHeader)) {
        if (IsPlainName(name)) DeleteOrMoveAway(File_t(TypeFolder(installedTypeName), name));
    }
}

// All that needs room on the disk comes before the old data goes: a full disk costs nothing.
void InstallTask::PrepareHeader() {
    writer = std::make_unique<PolicyWriter>(DirectoryImpl::CreateTemporaryFile(), headerFile,
                                            LumPalIo::CharArrayInputStream_t::Over(operation.currentPolicy),
                                            operation.installDirectory, newHeader.Get());
    writer->Prepare();
}

void InstallTask::WriteHeader() {
    writer->Write(IsPlainName(installedPolicyId) ? installedPolicyId : String_t(""));
    operation.currentPolicy = LumPalArray::CharArray_t();
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
    operation.Audit(originator, newHeader->GetName(), id, AuditLog::Install, true);
    operation.Cache()->Insert(newHeader.Get());
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
    if (!operation.IsPolicyTypeNameInstalled(installedTypeName)) TypeFolder(installedTypeName).Delete();
}

void InstallTask::Notify() {
    if (options.GetNotify()) operation.notifications.Send();
}

}  // namespace LumConf
