#include "StoreJournal.h"

#include <algorithm>
#include <set>

#include "DirectoryImpl.h"
#include "LumPalFileMark.h"
#include "LumPalLog.h"
#include "LumPalWhole.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
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
constexpr std::size_t kFewFiles = 8;
constexpr const char* kAsideSuffix = ".tmp";
constexpr const char* kUnreadableSuffix = ".unreadable";

File_t RecordFile() {
    return paths::ChangeRecordFile();
}

/// A folder that an administrator may have put elsewhere: here alone a link in its place is followed.
Folder_t OpenBase(const File_t& folder) {
    return Folder_t(File_t(folder, "."));
}

Folder_t RecordFolder() {
    return OpenBase(DirectoryImpl::FolderOf(RecordFile()));
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
    } catch (const LumPalIo::FileNotFoundException_t&) {
        return true;  // without the folder there is no record
    } catch (const std::exception&) {
        return false;
    }
}

/// Only what is surely not there is none. @throws IOException_t
bool IsThere(const File_t& file) {
    try {
        return Folder_t(DirectoryImpl::FolderOf(file)).Look(file.GetName()) != Folder_t::Entry::None;
    } catch (const LumPalIo::FileNotFoundException_t&) {
        return false;
    }
}

File_t PlaceOf(const StoreChange::StoredFile& file) {
    return File_t(File_t(paths::PolicyInstallDirectory(), file.typeName), file.name);
}

File_t WaitingFile(const StoreChange::Placed& file) {
    const bool incoming = file.waiting == StoreChange::Waiting::Incoming;
    return File_t(incoming ? paths::IncomingDirectory() : paths::TemporaryDirectory(), file.waitingName);
}

std::optional<StoreChange::Former> StandsIn(const File_t& place) {
    const auto mark = LumPalIo::MarkOf(place, LumPalIo::Links::NotFollowed);
    if (!mark) return std::nullopt;
    return StoreChange::Former{mark->node, mark->size, mark->modified};
}

// By what stood there before, not by what is to stand there: between two file systems the new file is a copy, whose
// number nobody knows in advance.
void MarkFormer(StoreChange& change) {
    for (StoreChange::Placed& file : change.placed) file.former = StandsIn(PlaceOf(file.place));
}

bool HasItsPlace(const StoreChange::Placed& file) {
    const File_t place = PlaceOf(file.place);
    return IsThere(place) && !(file.former && StandsIn(place) == file.former);
}

/// A file that neither waits nor has its place is lost, and the change cannot be finished any more.
bool IsComplete(const StoreChange& change) {
    return std::all_of(change.placed.begin(), change.placed.end(),
                       [](const StoreChange::Placed& file) { return IsThere(WaitingFile(file)) || HasItsPlace(file); });
}

// What is already done is done no more: a file that is gone was deleted, one that no longer waits has its place. As in
// the change itself a data file that stays in spite of all is no reason to stop, but a document is: there would be two.
void DeleteAgain(const StoreChange::StoredFile& file) {
    const File_t place = PlaceOf(file);
    if (!IsThere(place) || DirectoryImpl::DeleteFile(place)) return;
    if (DirectoryImpl::MoveAway(Folder_t(DirectoryImpl::FolderOf(place)), file.name)) return;
    if (IsHeaderName(file.name)) Raise<LumPalIo::IOException_t>(msg::DestinationNotDeleted, place.GetAbsolutePath());
    LumPalLog::Log(Make(msg::DestinationNotDeleted, place.GetAbsolutePath()));
}

void PlaceAgain(const StoreChange::Placed& file) {
    const File_t waiting = WaitingFile(file);
    if (IsThere(waiting)) DirectoryImpl::MoveOrCopyFile(waiting, PlaceOf(file.place));
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
    const LumPalIo::FileInputStream_t input = RecordFolder().Open(names::ChangeRecordFile);
    return LumPalIo::ReadWhole(input, kLargestRecord).value_or(CharArray_t());
}

/// Takes a record that nobody can follow out of the way. @return where it is now
String_t PutAside() {
    const Folder_t folder = RecordFolder();
    const String_t name = names::ChangeRecordFile;
    const String_t aside = name + kUnreadableSuffix;
    if (!folder.Move(name, folder, aside)) {
        Raise<LumPalIo::IOException_t>(msg::ChangeRecordStays, RecordFile().GetAbsolutePath());
    }
    folder.Sync();
    return folder.Path(aside).GetAbsolutePath();
}

bool HasRecord() {
    try {
        return RecordFolder().Look(names::ChangeRecordFile) != Folder_t::Entry::None;
    } catch (const LumPalIo::FileNotFoundException_t&) {
        return false;
    }
}

void FinishRecorded() {
    StoreChange change;
    int line = 0;
    if (!StoreChange::FromText(ReadRecord(), change, line)) {
        LumPalLog::Log(Make(msg::ChangeRecordUnreadable, RecordFile().GetAbsolutePath(), line, PutAside()));
        return;
    }
    if (!IsComplete(change)) {
        LumPalLog::Log(Make(msg::ChangeIncomplete, change.id, change.typeName, PutAside()));
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
        StoreChange recorded = change;
        MarkFormer(recorded);
        PutRecord(recorded.ToText());
    } catch (const LumPalIo::NoSpaceException_t& e) {
        Forget();
        throw Because<LumPalIo::NoSpaceException_t>(msg::ChangeNotRecorded, change.id, change.typeName, path, e);
    } catch (const LumPalIo::IOException_t& e) {
        Forget();
        throw Because<LumPalIo::IOException_t>(msg::ChangeNotRecorded, change.id, change.typeName, path, e);
    } catch (...) {
        Forget();  // memory may have run out behind the last step
        throw;
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
    if (!leftover) return;
    try {
        LumPalLog::Log(Make(msg::ChangeRecordStays, RecordFile().GetAbsolutePath()));
    } catch (const std::exception&) {
        // Whoever asks next is told.
    }
}

void StoreJournal::RequireNone() {
    if (leftover) Forget();
    if (leftover) Raise<LumPalIo::IOException_t>(msg::ChangeRecordStays, RecordFile().GetAbsolutePath());
}

void StoreJournal::FinishInterrupted() {
    const File_t record = RecordFile();
    File_t(record.ToString() + kAsideSuffix).Delete();
    try {
        if (HasRecord()) FinishRecorded();
    } catch (const LumPalIo::IOException_t& e) {
        throw Because<LumPalIo::IOException_t>(msg::ChangeNotFinished, record.GetAbsolutePath(), e);
    }
}

void StoreJournal::FlushFiles(const File_t& folder, const std::vector<String_t>& names) {
    if (names.empty()) return;
    const Folder_t open(folder);
    if (names.size() > kFewFiles) return open.SyncAll();
    for (const String_t& name : names) open.SyncFile(name);
}

void StoreJournal::Flush(const std::vector<String_t>& typeNames) {
    const File_t store = paths::PolicyInstallDirectory();
    for (const String_t& type : typeNames) {
        try {
            Folder_t(File_t(store, type)).Sync();
        } catch (const LumPalIo::FileNotFoundException_t&) {
            // A folder that is gone: that its name is gone is flushed below.
        }
    }
    OpenBase(store).Sync();
}

}  // namespace LumConf
