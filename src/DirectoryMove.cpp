// Moving a file to its place in the store.
#include "DirectoryImpl.h"
#include "FilePermission.h"
#include "Messages.h"
#include "Names.h"
#include "Trace.h"

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

[[noreturn]] void RaisePlain(const LumPalStr::String_t& text) {
    throw IOException_t(LumPalMsg::CreateError_t(text));
}

/// A copy beside the destination that then takes its name: whoever reads sees the old file or the whole new one.
void CopyBeside(const File_t& source, const File_t& destination) {
    File_t aside = File_t::CreateTempFile(names::TemporaryFilePrefix, DirectoryOf(destination));
    try {
        CopyBytes(source, aside);
        if (!aside.RenameTo(destination)) {
            RaisePlain("'" + aside.ToString() + "' could not be renamed to '" + destination.ToString() + "'.");
        }
    } catch (const Exception_t&) {
        aside.Delete();
        throw;
    }
    source.Delete();
}

void MoveOrCopy(const File_t& source, const File_t& destination) {
    if (!source.RenameTo(destination)) CopyBeside(source, destination);
}

/// Whether the file took the place of the one that stands there.
bool Replace(const File_t& source, const File_t& destination) {
    try {
        MoveOrCopy(source, destination);
        return true;
    } catch (const Exception_t& e) {
        LUMCONF_TRACE(trace::Policy, e.GetMessageList().Format(LumPalMsg::Text | LumPalMsg::Details));
        return false;
    }
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

/// What a link points to is not the store's.
void RefuseLinks(const File_t& source, const File_t& destination) {
    for (const File_t& file : {source, DirectoryOf(destination)}) {
        if (!file.IsSymbolicLink()) continue;
        Raise<IOException_t>(msg::FileNotCopied, source.ToString(), destination.ToString(),
                             LumPalMsg::CreateError_t("'" + file.ToString() + "' is a symbolic link."));
    }
}

bool IsRealDirectory(const File_t& file) {
    return file.IsDirectory() && !file.IsSymbolicLink();
}

void Put(const File_t& source, const File_t& destination) {
    if (destination.Exists() || destination.IsSymbolicLink()) {
        if (!IsRealDirectory(destination) && Replace(source, destination)) return;
        ClearTheWay(destination);
    } else {
        DirectoryImpl::MakeDirectory(DirectoryOf(destination));
    }
    try {
        MoveOrCopy(source, destination);
    } catch (const Exception_t& e) {
        Raise<IOException_t>(msg::FileNotCopied, source.ToString(), destination.ToString(), e);
    }
}

}  // namespace

void DirectoryImpl::MoveOrCopyFile(const File_t& source, const File_t& destination) {
    RefuseLinks(source, destination);
    FilePermission::Apply(source, FilePermissionSet::Writable());
    FilePermission::Apply(destination, FilePermissionSet::Writable());
    Put(source, destination);
    FilePermission::Apply(destination, FilePermissionSet::Protected());
}

}  // namespace LumConf
