#include "StoreJournal.h"

#include <set>

#include "DirectoryImpl.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "Names.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalStr::String_t;

namespace {

// A policy has at most 10,000 files with names of at most 255 bytes.
constexpr std::uint64_t kLargestRecord = 64u << 20;
constexpr const char* kAsideSuffix = ".tmp";
constexpr const char* kUnreadableSuffix = ".unreadable";

File_t RecordFile() {
    return paths::ChangeRecordFile();
}

Folder_t RecordFolder() {
    return Folder_t(DirectoryImpl::FolderOf(RecordFile()));
}

void WriteRecord(const Folder_t& folder, const String_t& aside, const CharArray_t& text) {
    LumPalIo::FileOutputStream_t file = folder.Create(aside);
    file.Write(text);
    file.Sync();
    file.Close();
    const String_t name = names::ChangeRecordFile;
    if (!folder.Move(aside, folder, name)) {
        throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("The name of the record cannot be taken."));
    }
    folder.Sync();
}

void PutRecord(const CharArray_t& text) {
    DirectoryImpl::FolderOf(RecordFile()).MakeFolders();
    const Folder_t folder = RecordFolder();
    const String_t aside = String_t(names::ChangeRecordFile) + kAsideSuffix;
    folder.Delete(aside);
    try {
        WriteRecord(folder, aside, text);
    } catch (...) {
        folder.Delete(aside);
        throw;
    }
}

bool DeleteRecord() noexcept {
    try {
        const Folder_t folder = RecordFolder();
        const String_t name = names::ChangeRecordFile;
        if (!folder.Delete(name) && folder.Look(name) != Folder_t::Entry::None) return false;
        folder.Sync();
        return true;
    } catch (const std::exception& e) {
        return false;
    }
}

// What is already done is done no more: a folder or a file that is gone was deleted, one that no longer waits is
// placed.
void DeleteAgain(const StoreChange::StoredFile& file) {
    const File_t folder(paths::PolicyInstallDirectory(), file.typeName);
    if (!folder.Exists()) return;
    const Folder_t opened(folder);
    if (opened.Look(file.name) == Folder_t::Entry::None || DirectoryImpl::DeleteFile(File_t(folder, file.name))) return;
    if (!DirectoryImpl::MoveAway(opened, file.name)) {
        Raise<LumPalIo::IOException_t>(msg::DestinationNotDeleted, opened.Path(file.name).GetAbsolutePath());
    }
}

void PlaceAgain(const StoreChange::Placed& file) {
    const bool incoming = file.waiting == StoreChange::Waiting::Incoming;
    const File_t waiting(incoming ? paths::IncomingDirectory() : paths::TemporaryDirectory(), file.waitingName);
    if (!waiting.Exists() && !waiting.IsSymbolicLink()) return;
    const File_t folder(paths::PolicyInstallDirectory(), file.place.typeName);
    DirectoryImpl::MoveOrCopyFile(waiting, File_t(folder, file.place.name));
}

void DeleteIfEmpty(const File_t& folder) {
    if (folder.IsDirectory() && !folder.IsSymbolicLink()) folder.Delete();
}

void Finish(const StoreChange& change) {
    std::set<String_t> types(change.emptied.begin(), change.emptied.end());
    for (const StoreChange::StoredFile& file : change.deleted) {
        DeleteAgain(file);
        types.insert(file.typeName);
    }
    for (const StoreChange::Placed& file : change.placed) {
        PlaceAgain(file);
        types.insert(file.place.typeName);
    }
    for (const String_t& type : change.emptied) DeleteIfEmpty(File_t(paths::PolicyInstallDirectory(), type));
    StoreJournal::Flush({types.begin(), types.end()});
}

CharArray_t ReadRecord() {
    if (RecordFile().GetSize() > kLargestRecord) return {};
    LumPalIo::FileInputStream_t input = RecordFolder().Open(names::ChangeRecordFile);
    CharArray_t text(static_cast<std::size_t>(RecordFile().GetSize()));
    const std::int64_t length = text.GetLength() > 0 ? input.Read(text) : 0;
    text.Resize(static_cast<std::size_t>(length > 0 ? length : 0));
    return text;
}

void PutAside(int line) {
    const Folder_t folder = RecordFolder();
    const String_t name = names::ChangeRecordFile;
    const String_t aside = name + kUnreadableSuffix;
    LumPalLog::Log(
        Make(msg::ChangeRecordUnreadable, RecordFile().GetAbsolutePath(), line, folder.Path(aside).GetAbsolutePath()));
    if (!folder.Move(name, folder, aside)) folder.Delete(name);
    folder.Sync();
}

void FinishRecorded() {
    StoreChange change;
    int line = 0;
    if (!StoreChange::FromText(ReadRecord(), change, line)) {
        PutAside(line);
        return;
    }
    Finish(change);
    LumPalLog::Log(Make(msg::ChangeFinished, change.id, change.typeName));
    if (!DeleteRecord()) Raise<LumPalIo::IOException_t>(msg::ChangeRecordStays, RecordFile().GetAbsolutePath());
}

}  // namespace

void StoreJournal::Write(const StoreChange& change) {
    const String_t path = RecordFile().GetAbsolutePath();
    try {
        PutRecord(change.ToText());
    } catch (const LumPalIo::NoSpaceException_t& e) {
        Forget();
        throw Because<LumPalIo::NoSpaceException_t>(msg::ChangeNotRecorded, change.id, change.typeName, path, e);
    } catch (const LumPalIo::IOException_t& e) {
        Forget();
        throw Because<LumPalIo::IOException_t>(msg::ChangeNotRecorded, change.id, change.typeName, path, e);
    }
}

StoreJournal::Entry StoreJournal::Record(const StoreChange& change) {
    Write(change);
    return Entry(*this);
}

StoreJournal::Entry StoreJournal::RecordIfPossible(const StoreChange& change) {
    try {
        Write(change);
    } catch (const LumPalIo::IOException_t& e) {
        LumPalLog::Log(Make(msg::ChangeGoesOn, change.id, change.typeName, e));
    }
    return Entry(*this);
}

void StoreJournal::Forget() noexcept {
    leftover = !DeleteRecord();
}

void StoreJournal::RequireNone() {
    if (leftover) Forget();
    if (leftover) Raise<LumPalIo::IOException_t>(msg::ChangeRecordStays, RecordFile().GetAbsolutePath());
}

void StoreJournal::FinishInterrupted() {
    const File_t record = RecordFile();
    File_t(record.ToString() + kAsideSuffix).Delete();
    if (!record.Exists() && !record.IsSymbolicLink()) return;
    try {
        FinishRecorded();
    } catch (const LumPalIo::IOException_t& e) {
        throw Because<LumPalIo::IOException_t>(msg::ChangeNotFinished, record.GetAbsolutePath(), e);
    }
}

void StoreJournal::Flush(const std::vector<String_t>& typeNames) {
    const File_t store = paths::PolicyInstallDirectory();
    bool gone = false;
    for (const String_t& type : typeNames) {
        const File_t folder(store, type);
        if (folder.Exists()) {
            Folder_t(folder).Sync();
        } else {
            gone = true;
        }
    }
    if (gone) Folder_t(store).Sync();
}

}  // namespace LumConf
