// Moving a file to its place in the store.
#include "DirectoryImpl.h"
#include "FilePermission.h"
#include "Messages.h"
#include "Names.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalIo::IOException_t;
using LumPalMsg::Exception_t;

namespace {

constexpr std::size_t kBlockBytes = 8192;

File_t DirectoryOf(const File_t& file) {
    return File_t(file.GetAbsolutePath()).GetParentFile();
}

void CopyBytes(const File_t& from, const File_t& to) {
    LumPalIo::BufferedInputStream_t input{LumPalIo::FileInputStream_t(from)};
    LumPalIo::FileOutputStream_t file(to);
    LumPalIo::BufferedOutputStream_t output(file);
    LumPalArray::CharArray_t block(kBlockBytes);
    for (std::int64_t count; (count = input.Read(block)) != -1;)
        output.Write(block, 0, static_cast<std::size_t>(count));
    output.Flush();
    file.Sync();
    output.Close();
    input.Close();
}

/// A whole copy beside the destination; nothing half-written remains when that fails.
File_t CopyBeside(const File_t& source, const File_t& destination) {
    File_t aside = File_t::CreateTempFile(names::TemporaryFilePrefix, DirectoryOf(destination));
    try {
        CopyBytes(source, aside);
    } catch (const Exception_t&) {
        aside.Delete();
        throw;
    }
    return aside;
}

/// Gives the file the name of the destination: whoever reads sees the old file or the whole new one.
/// @return false when the name cannot be taken; nothing has changed then
/// @throws IOException_t when the file cannot be copied; nothing has changed then either
bool TakeName(const File_t& source, const File_t& destination) {
    if (source.RenameTo(destination)) return true;
    File_t aside = CopyBeside(source, destination);
    if (!aside.RenameTo(destination)) {
        aside.Delete();
        return false;
    }
    source.Delete();
    return true;
}

void MoveOutOfTheWay(const File_t& file) {
    try {
        File_t place = DirectoryImpl::CreateTemporaryFile();
        if (file.RenameTo(place)) return;
        place.Delete();
    } catch (const Exception_t& e) {
        Raise<IOException_t>(msg::DestinationNotDeleted, file.ToString(), e);
    }
    Raise<IOException_t>(msg::DestinationNotDeleted, file.ToString());
}

/// Removes what a file cannot replace in one step.
void ClearTheWay(const File_t& destination) {
    if (!destination.Delete()) MoveOutOfTheWay(destination);
}

[[noreturn]] void RaiseNotCopied(const File_t& source, const File_t& destination, const LumPalMsg::MessageList_t& why) {
    Raise<IOException_t>(msg::FileNotCopied, source.ToString(), destination.ToString(), why);
}

/// What a link points to is not the store's.
void RefuseLinks(const File_t& source, const File_t& destination) {
    for (const File_t& file : {source, DirectoryOf(destination)}) {
        if (!file.IsSymbolicLink()) continue;
        RaiseNotCopied(source, destination, LumPalMsg::CreateError_t("'" + file.ToString() + "' is a symbolic link."));
    }
}

bool IsRealDirectory(const File_t& file) {
    return file.IsDirectory() && !file.IsSymbolicLink();
}

bool TakeNameOrRaise(const File_t& source, const File_t& destination) {
    try {
        return TakeName(source, destination);
    } catch (const Exception_t& e) {
        RaiseNotCopied(source, destination, e.GetMessageList());
    }
}

/// What stands there goes only when a whole file was ready to take its place: a source that cannot be read, or a full
/// disk, must not cost the old file.
void Put(const File_t& source, const File_t& destination) {
    if (destination.Exists() || destination.IsSymbolicLink()) {
        if (!IsRealDirectory(destination) && TakeNameOrRaise(source, destination)) return;
        ClearTheWay(destination);
    } else {
        DirectoryImpl::MakeDirectory(DirectoryOf(destination));
    }
    if (!TakeNameOrRaise(source, destination)) {
        RaiseNotCopied(source, destination, LumPalMsg::CreateError_t("The name of the destination cannot be taken."));
    }
}

}  // namespace

void DirectoryImpl::MoveOrCopyFile(const File_t& source, const File_t& destination) {
    RefuseLinks(source, destination);
    FilePermission::Apply(source, FilePermissionSet::Writable());
    FilePermission::Apply(destination, FilePermissionSet::Writable());
    try {
        Put(source, destination);
    } catch (const Exception_t&) {
        // The old file stands on, and rests as it did.
        FilePermission::Apply(destination, FilePermissionSet::Protected());
        throw;
    }
    FilePermission::Apply(destination, FilePermissionSet::Protected());
}

}  // namespace LumConf
