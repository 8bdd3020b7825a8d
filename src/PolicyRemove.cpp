// PolicyOperation: removing policies.
#include "AuditLog.h"
#include "DirectoryImpl.h"
#include "DistinctFiles.h"
#include "Exceptions.h"
#include "LumCtrl.h"
#include "LumPalDaemon.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyHeaderImpl.h"
#include "PolicyOperation.h"
#include "Selection.h"
#include "SharedDataFiles.h"
#include "Trace.h"

namespace LumConf {
namespace {

using LumPalIo::File_t;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

enum class Deleted { Yes, Missing, Failed };

// Names in a stored document are no better than those on the wire: one that leaves its folder, and a folder that is a
// link to another place, are never followed.
Deleted DeleteStored(const File_t& base, const String_t& typeName, const String_t& name) {
    const File_t folder(base, typeName);
    if (!IsPlainName(typeName) || !IsPlainName(name)) return Deleted::Failed;
    if (!folder.Exists() && !folder.IsSymbolicLink()) return Deleted::Missing;
    try {
        if (LumPalIo::Folder_t(folder).Look(name) == LumPalIo::Folder_t::Entry::None) return Deleted::Missing;
    } catch (const LumPalIo::IOException_t&) {
        return Deleted::Failed;
    }
    return DirectoryImpl::DeleteFile(File_t(folder, name)) ? Deleted::Yes : Deleted::Failed;
}

bool HoldsUnflushed(const MessageList_t& failures) {
    for (int i = 0; i < failures.GetMessageCount(); ++i) {
        if (failures.GetMessage(i).GetId() == msg::RemovalNotFlushed.id &&
            failures.GetMessage(i).GetSeverity() == LumPalMsg::Severity_e::Error) {
            return true;
        }
    }
    return false;
}

StoreChange DescribeRemoval(const PolicyRecord& policy) {
    // Whoever made a document by hand may have given it names that nothing in the store bears.
    const auto shown = [](const String_t& name) { return IsPlainName(name) ? name : String_t("?"); };
    StoreChange change{shown(policy.typeName), shown(policy.containerId), {}, {}, {}};
    if (IsPlainName(policy.typeName)) change.emptied.push_back(policy.typeName);
    std::vector<StoreChange::StoredFile> files;
    for (const PolicyDataFile& file : policy.dataFiles) files.push_back({policy.typeName, file.name});
    files.push_back({policy.typeName, policy.containerId + names::HeaderFileSuffix});
    change.DeleteUnlessPlaced(files);
    return change;
}

}  // namespace

void PolicyOperation::Remove(const String_t& originator, const Selection& selection,
                             const PolicyForwarder::Options& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::Remove");
    MutexLock_t lock(mutex);
    RemoveSelected(originator, selection, options, AtStop::End);
}

void PolicyOperation::RemoveSelected(const String_t& originator, const Selection& selection,
                                     const PolicyForwarder::Options& options, AtStop atStop) {
    RequirePolicies(originator, AuditLog::Remove);
    const std::vector<String_t> ids = SelectIds(selection);
    if (ids.empty()) {
        Audit(originator, AuditLog::Remove,
              Outcome::Success);  // kept: nothing found counts as a success in the audit log
        Raise<PolicyNotFoundError>(msg::RemoveNoPolicyFiles);
    }
    const bool mayEnd = atStop == AtStop::End && ids.size() > 1;
    MessageList_t failures;
    int removed = 0;
    auto next = ids.begin();
    for (; next != ids.end() && !(mayEnd && LumPalRuntime::IsStopping()); ++next) {
        if (RemovePolicy(originator, *next, failures)) ++removed;
    }
    if (options.GetNotify()) SendUnreported();
    if (next != ids.end()) {
        Raise<PolicyException>(msg::RemovalGivenUp, removed, static_cast<int>(ids.size()), *next, failures);
    }
    // Not as a file that was missing, which callers pass over.
    if (HoldsUnflushed(failures)) throw LumPalIo::IOException_t(failures);
    if (failures.GetMessageCount() > 0) throw PolicyException(failures);
}

void PolicyOperation::SendUnreported() {
    try {
        notifications.Send();
    } catch (const LumCtrl::ControlException& e) {
        LUMCONF_TRACE(trace::Policy, String_t(e.GetMessageList()));
    }
}

bool PolicyOperation::RemovePolicy(const String_t& originator, const String_t& id, MessageList_t& failures) {
    const PolicyContainerImpl::HeaderPtr header = Cache()->GetPolicyHeader(id);
    const SharedDataFiles::Names spared = SharedDataFiles::Spare(*Cache(), *header);
    PolicyRecord policy = header->Snapshot();
    std::erase_if(policy.dataFiles, [&spared](const PolicyDataFile& file) { return spared.count(file.name) > 0; });
    const StoreJournal::Entry recorded = journal.RecordIfPossible(DescribeRemoval(policy));
    SharedDataFiles::LogLeft(*Cache(), *header, spared);
    // A file that the document names twice is deleted once, and then not missing.
    for (const String_t& name : DistinctDataFiles(policy)) RemoveDataFile(originator, policy, name, failures);
    if (!RemoveHeaderFile(originator, policy, failures)) return false;
    ForgetPolicy(originator, policy);
    try {
        StoreJournal::Flush({policy.typeName});
    } catch (const LumPalIo::IOException_t& e) {
        failures.Add(Make(msg::RemovalNotFlushed, policy.containerId, policy.typeName, e));
    }
    return true;
}

void PolicyOperation::RemoveDataFile(const String_t& originator, const PolicyRecord& policy, const String_t& name,
                                     MessageList_t& failures) const {
    const String_t path = File_t(File_t(installDirectory, policy.typeName), name).GetAbsolutePath();
    const Deleted deleted = DeleteStored(installDirectory, policy.typeName, name);
    if (deleted == Deleted::Yes) return;
    failures.Add(deleted == Deleted::Missing ? Make(msg::RemoveDataFileMissing, path, policy.containerId)
                                             : Make(msg::RemoveDataFileError, path, policy.containerId));
    Audit(originator, policy.name, policy.containerId, AuditLog::Remove, Outcome::Failure);
}

bool PolicyOperation::RemoveHeaderFile(const String_t& originator, const PolicyRecord& policy,
                                       MessageList_t& failures) const {
    const String_t name = policy.containerId + names::HeaderFileSuffix;
    const String_t path = File_t(File_t(installDirectory, policy.typeName), name).GetAbsolutePath();
    const Deleted deleted = DeleteStored(installDirectory, policy.typeName, name);
    if (deleted == Deleted::Yes) return true;
    failures.Add(deleted == Deleted::Missing ? Make(msg::RemoveHeaderFileMissing, path, policy.containerId)
                                             : Make(msg::RemoveHeaderFileError, path, policy.containerId));
    Audit(originator, policy.name, policy.containerId, AuditLog::Remove, Outcome::Failure);
    return false;
}

void PolicyOperation::ForgetPolicy(const String_t& originator, const PolicyRecord& policy) {
    notifications.AddRemove(policy.typeName, policy.containerId);
    Audit(originator, policy.name, policy.containerId, AuditLog::Remove, Outcome::Success);
    Cache()->Erase(policy.containerId);
    unwritten.Forget(policy.containerId);
    if (IsPolicyTypeNameInstalled(policy.typeName)) return;
    notifications.AddLastPolicy(policy.typeName);
    File_t(installDirectory, policy.typeName).Delete();
}

}  // namespace LumConf
