#include "InstallTask.h"

#include "AuditLog.h"
#include "DirectoryImpl.h"
#include "Exceptions.h"
#include "Messages.h"
#include "PlainName.h"
#include "PolicyOperation.h"
#include "PolicyWriter.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalMsg::Message_t;
using LumPalStr::String_t;

InstallTask::InstallTask(PolicyOperation& operation, const String_t& originator, const InstallOptionsImpl& options)
    : operation(operation), originator(originator), options(options), incoming(paths::IncomingDirectory()) {}

InstallTask::~InstallTask() = default;

void InstallTask::Run(TransferCursor& array) {
    operation.mutex.RequireHeld();
    operation.journal.RequireNone();
    operation.DeleteLeftovers();
    try {
        RunSteps(array);
    } catch (const LumPalIo::NoSpaceException_t&) {
        GiveRoomBack();
        throw;
    }
}

void InstallTask::RunSteps(TransferCursor& array) {
    Unpack(array);
    try {
        InstallUnpacked();
    } catch (const PolicyException& e) {
        CleanUp(e);
        throw;
    }
}

void InstallTask::Unpack(TransferCursor& array) {
    try {
        UnpackFiles(array);
    } catch (const LumPalIo::NoSpaceException_t& e) {
        GiveRoomBack();
        Raise<ConfException>(msg::UnpackError, e);
    } catch (const LumPalMsg::RuntimeException_t& e) {
        Raise<ConfException>(msg::UnpackError, e);
    }
}

void InstallTask::UnpackFiles(TransferCursor& array) {
    DirectoryImpl::MakeDirectory(incoming);
    PolicyArrayReader files(array);
    try {
        while (files.Next()) {
            const std::size_t begin = array.GetPosition();
            if (files.IsHeader()) headerFile = File_t(incoming, files.GetName());
            operation.CreateFile(incoming, files.GetName(), array.Bytes(), files.GetLength(), false);
            if (files.IsHeader()) document = array.View(begin, array.GetPosition());
        }
    } catch (const LumPalIo::NoSpaceException_t&) {
        carried = files.TakeCarriedNames();
        throw;
    }
    carried = files.TakeCarriedNames();
}

void InstallTask::InstallUnpacked() {
    Parse();
    CheckNames();
    ApplyOptions();
    FindInstalled();
    Decide();
    CheckSharedDataFiles();
    ChangeByCluster();
    CheckFolders();
    CheckDataFiles();
    CheckSignatures();
    PrepareHeader();
    FlushWaiting();
    RemoveDisplaced();
    Write();
    Notify();
}

void InstallTask::Parse() {
    PolicyXmlHandler handler;
    handler.StartReading();
    PolicyXmlParser::Parse(StreamOver(document), handler);
    newHeader = handler.TakeHeader();
}

// What the document says becomes names in the store, so it is held to the rule of the array's own names.
void InstallTask::CheckNames() const {
    CheckPolicyId(newHeader->GetContainerId());
    CheckPlainName(newHeader->GetTypeName());
    CheckDataFileNames(DataFiles(*newHeader));
}

void InstallTask::CleanUp(const PolicyException& cause) {
    const Message_t message = Make(msg::InstallFileError, headerFile.GetAbsolutePath(), cause);
    LUMCONF_TRACE(trace::Policy, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    DeleteIncoming(headerFile.GetName());
    if (newHeader) {
        for (const String_t& name : DataFiles(*newHeader)) DeleteIncoming(name);
        DeleteUnpacked();
    }
    AuditFailure();
}

void InstallTask::DeleteIncoming(const String_t& name) const {
    if (!IsPlainName(name)) return;  // a refused name may lead anywhere
    const File_t file(incoming, name);
    if (file.Exists() && !DirectoryImpl::DeleteFile(file)) {
        LUMCONF_TRACE(trace::Policy, String_t("Cannot delete ") + file.GetAbsolutePath());
    }
}

/// Also what the array carried and the document does not name.
void InstallTask::DeleteUnpacked() const {
    for (std::size_t i = 0; i < carried.GetCount(); ++i) DeleteIncoming(carried.Get(i));
}

// A request that found no room must not keep the room that it took. What cannot be deleted on a full disk goes when
// the next install begins.
void InstallTask::GiveRoomBack() {
    writer.reset();
    for (std::size_t i = 0; i < carried.GetCount(); ++i) {
        const File_t file(incoming, carried.Get(i));
        if (IsPlainName(file.GetName()) && file.Exists() && !DirectoryImpl::DeleteFile(file)) {
            operation.leftovers.push_back(file);
        }
    }
}

void InstallTask::AuditFailure() const {
    if (newHeader) {
        operation.Audit(originator, newHeader->GetName(), newHeader->GetContainerId(), AuditLog::Install,
                        AuditLog::Outcome::Failure);
    } else {
        operation.Audit(originator, AuditLog::Install, AuditLog::Outcome::Failure);
    }
}

File_t InstallTask::TypeFolder(const String_t& typeName) const {
    return File_t(operation.installDirectory, typeName);
}

std::vector<String_t> InstallTask::DataFiles(const PolicyHeaderImpl& header) const {
    std::vector<String_t> files;
    for (const PolicyDataFile& file : header.Snapshot().dataFiles) files.push_back(file.name);
    return files;
}

}  // namespace LumConf
