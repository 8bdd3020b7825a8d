// LumPalDurable.h: flushing, deleting, moving; replacing has a file of its own.
#include <cerrno>

#include "LumPalDurable.h"
#include "SystemError.h"

namespace LumPalIo {
namespace {

File_t FolderOf(const File_t& file) {
    return File_t(file.GetAbsolutePath()).GetParentFile();
}

}  // namespace

void Flush(const File_t& file) {
    if (!file.Sync()) ThrowSystemError("Cannot flush to the disk", file.ToString(), errno);
}

void DeleteFile(const File_t& file) {
    if (!file.Delete()) ThrowSystemError("Cannot delete file", file.ToString(), errno);
    Flush(FolderOf(file));
}

void MoveFile(const File_t& from, const File_t& to) {
    Flush(from);
    if (!from.RenameTo(to)) ThrowSystemError("Cannot replace file", to.ToString(), errno);
    Flush(FolderOf(to));
    Flush(FolderOf(from));
}

}  // namespace LumPalIo
