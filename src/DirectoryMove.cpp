// Moving a file to its place in the store, and deleting it there.
#include "DirectoryImpl.h"
#include "FilePermission.h"
#include "LumPalWhole.h"
#include "Messages.h"
#include "Names.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalIo::IOException_t;
using LumPalIo::NoSpaceException_t;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

/// A file's folder, open, and the file's name in it: nobody who exchanges the folder meanwhile leads elsewhere.
struct Place {
    explicit Place(const File_t& file) : folder(DirectoryImpl::FolderOf(file)), name(file.GetName()) {}

    const Folder_t folder;
    const String_t name;
};

void RefuseNull(const File_t& file) {
    if (file.IsNull()) Raise<LumPalMsg::IllegalStateError_t>(msg::PermissionFileEmpty);
}

/// Only what is ours alone may take a place in the store.
void CheckSource(const Place& source) {
    const Folder_t::Entry entry = source.folder.Look(source.name);
    const String_t path = source.folder.Path(source.name).ToString();
    if (entry == Folder_t::Entry::SymbolicLink) Raise<IOException_t>(msg::MovedFileIsLink, path);
    if (entry == Folder_t::Entry::None) Raise<LumPalIo::FileNotFoundException_t>(msg::PathDoesNotExist, path);
    if (entry != Folder_t::Entry::File) Raise<IOException_t>(msg::MovedFileNotPlain, path);
}

void CopyBytes(LumPalIo::InputStream_t input, LumPalIo::FileOutputStream_t file) {
    LumPalIo::Copy(input, file);
    file.SetMode(FilePermissionSet::Protected().GetMode());
    file.Sync();
    file.Close();
    input.Close();
}

/// Makes a whole copy beside the destination; nothing half-written remains when that fails.
String_t CopyBeside(const Place& source, const Folder_t& folder) {
    String_t name;
    const LumPalIo::FileOutputStream_t file = folder.CreateUnused(names::AsideFilePrefix, name);
    try {
        CopyBytes(source.folder.Open(source.name), file);
    } catch (...) {  // memory may run out too
        folder.Delete(name);
        throw;
    }
    return name;
}

/// On another file system the end of the source may reach the disk before the new name does: a power cut in between
/// would take both. A source that stays is debris; the flush of the whole change fails then, too, and says so.
void DeleteOnceFlushed(const Place& source, const Folder_t& destination) {
    try {
        destination.Sync();
    } catch (const IOException_t& e) {
        return LUMCONF_TRACE(trace::Policy, String_t(e.GetMessageList()));
    }
    source.folder.Delete(source.name);
}

/// Gives the file the name of the destination: whoever reads sees the old file or the whole new one.
/// @return false when the name cannot be taken; nothing has changed then
/// @throws IOException_t when the file cannot be copied; nothing has changed then either
bool TakeName(const Place& source, const Place& destination) {
    if (source.folder.Move(source.name, destination.folder, destination.name)) return true;
    const String_t aside = CopyBeside(source, destination.folder);
    if (!destination.folder.Move(aside, destination.folder, destination.name)) {
        destination.folder.Delete(aside);
        return false;
    }
    DeleteOnceFlushed(source, destination.folder);
    return true;
}

void MoveOutOfTheWay(const Place& place) {
    const String_t path = place.folder.Path(place.name).ToString();
    try {
        if (DirectoryImpl::MoveAway(place.folder, place.name)) return;
    } catch (const Exception_t& e) {
        Raise<IOException_t>(msg::DestinationNotDeleted, path, e);
    }
    Raise<IOException_t>(msg::DestinationNotDeleted, path);
}

/// Removes what a file cannot replace in one step.
void ClearTheWay(const Place& destination) {
    if (!destination.folder.Delete(destination.name)) MoveOutOfTheWay(destination);
}

template <class Step>
auto CopyOrRaise(const File_t& source, const File_t& destination, Step&& step) {
    try {
        return step();
    } catch (const NoSpaceException_t& e) {
        throw Because<NoSpaceException_t>(msg::FileNotCopied, source.ToString(), destination.ToString(), e);
    } catch (const Exception_t& e) {
        throw Because<IOException_t>(msg::FileNotCopied, source.ToString(), destination.ToString(), e);
    }
}

}  // namespace

File_t DirectoryImpl::FolderOf(const File_t& file) {
    return File_t(file.GetAbsolutePath()).GetParentFile();
}

namespace {

// What stands there goes only when a whole file was ready to take its place: a source that cannot be read, or a full
// disk, must not cost the old file.
template <class Take>
bool Put(const Place& destination, Take&& take) {
    if (destination.folder.Look(destination.name) != Folder_t::Entry::Directory && take()) return true;
    if (destination.folder.Look(destination.name) == Folder_t::Entry::None) return false;
    ClearTheWay(destination);
    return take();
}

void Move(const File_t& source, const File_t& destination) {
    const auto orRaise = [&](auto&& step) { return CopyOrRaise(source, destination, step); };
    const Place from = orRaise([&] { return Place(source); });
    const Place to = orRaise([&] {
        CheckSource(from);
        DirectoryImpl::FolderOf(destination).MakeFolders();
        return Place(destination);
    });
    // Before it has its name: whoever finds it in the store finds it protected.
    from.folder.SetMode(from.name, FilePermissionSet::Protected().GetMode());
    const bool taken = Put(to, [&] { return orRaise([&] { return TakeName(from, to); }); });
    if (!taken) orRaise([] { Raise<IOException_t>(msg::DestinationNotTaken); });
}

}  // namespace

void DirectoryImpl::MoveOrCopyFile(const File_t& source, const File_t& destination) {
    RefuseNull(source);
    RefuseNull(destination);
    try {
        Move(source, destination);
    } catch (const Exception_t&) {
        // The old file stands on, and rests as it should.
        FilePermission::Apply(destination, FilePermissionSet::Protected());
        throw;
    }
}

bool DirectoryImpl::DeleteFile(const File_t& file) {
    RefuseNull(file);
    try {
        const Place place(file);
        place.folder.SetMode(place.name, FilePermissionSet::Writable().GetMode());
        if (place.folder.Delete(place.name)) return true;
        place.folder.SetMode(place.name, FilePermissionSet::OwnerReadOnly().GetMode());
    } catch (const IOException_t&) {
        // A folder that is gone or is a link: nothing in it is the store's.
    }
    return false;
}

bool DirectoryImpl::MoveAway(const Folder_t& folder, const String_t& name) {
    const Place place(CreateTemporaryFile());
    if (folder.Move(name, place.folder, place.name)) return true;
    place.folder.Delete(place.name);
    return false;
}

}  // namespace LumConf
