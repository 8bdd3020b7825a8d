// File_t of LumPalIo.h: what asks the system.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Fault.h"
#include "LumPalIo.h"
#include "NativePath_posix.h"
#include "SystemError.h"

namespace LumPalIo {
namespace {

using LumPalStr::String_t;

// Nothing that the layer makes is open to others; umask may narrow it further.
constexpr mode_t DirectoryMode = 0750;

bool Status(const String_t& path, struct stat& status) {
    const NativePath native(path);
    return native.IsUsable() && stat(native.CStr(), &status) == 0;
}

String_t CurrentDirectory() {
    std::vector<char> buffer(256);
    while (!getcwd(buffer.data(), buffer.size())) {
        if (errno != ERANGE) ThrowSystemError("Cannot tell the current directory", String_t::Null(), errno);
        buffer.resize(buffer.size() * 2);
    }
    return PathFromNative(buffer.data());
}

/// The folder that holds an entry's name; "." of a relative path with one name.
File_t FolderOf(const File_t& entry) {
    const File_t folder = entry.GetParentFile();
    return folder.IsNull() ? File_t(".") : folder;
}

/// The new name is on the disk before anything is put into the folder: what lies in a folder without a name is lost.
void MakeOne(const File_t& directory) {
    const String_t path = directory.ToString();
    const NativePath native(path);
    if (!native.IsUsable()) ThrowSystemError("Cannot make folder", path, native.GetError());
    if (FaultAt("mkdir", native.CStr()) || mkdir(native.CStr(), DirectoryMode) != 0) {
        const int error = errno;
        if (error == EEXIST && directory.IsDirectory()) return;
        ThrowSystemError("Cannot make folder", path, error);
    }
    Observe("mkdir", native.CStr());
    const File_t parent = FolderOf(directory);
    if (parent.Sync()) return;
    const int error = errno;
    directory.Delete();  // else the next attempt would find it, and take it for one that stays
    ThrowSystemError("Cannot flush folder", parent.ToString(), error);
}

bool RemoveEntry(const char* path) {
    if (FaultAt("unlink", path)) return false;
    if (unlink(path) == 0) {
        Observe("unlink", path);
        return true;
    }
    // For a directory Linux says EISDIR, POSIX EPERM.
    if (errno != EISDIR && errno != EPERM) return false;
    if (FaultAt("rmdir", path) || rmdir(path) != 0) return false;
    Observe("rmdir", path);
    return true;
}

int MakeTemporary(std::vector<char>& path) {
    if (FaultAt("open", path.data())) return -1;
    const int descriptor = mkostemp(path.data(), O_CLOEXEC);
    if (descriptor >= 0) Observe("open", path.data());
    return descriptor;
}

void CheckPrefix(const String_t& prefix) {
    if (prefix.Find(File_t::Separator()) != LumPalStr::NotFound) {
        throw LumPalMsg::IllegalArgumentError_t(
            LumPalMsg::CreateError_t("'%1' cannot begin the name of a temporary file.") << prefix);
    }
}

}  // namespace

String_t File_t::GetAbsolutePath() const {
    if (path.IsEmpty() || path.GetAt(0) == u'/') return path;
    return File_t(CurrentDirectory(), path).ToString();
}

bool File_t::Exists() const {
    struct stat status {};
    return Status(path, status);
}

bool File_t::IsDirectory() const {
    struct stat status {};
    return Status(path, status) && S_ISDIR(status.st_mode);
}

bool File_t::IsSymbolicLink() const {
    const NativePath native(path);
    struct stat status {};
    return native.IsUsable() && lstat(native.CStr(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool File_t::IsOwnedByThisUser() const {
    struct stat status {};
    return Status(path, status) && status.st_uid == geteuid();
}

std::uint64_t File_t::GetSize() const {
    struct stat status {};
    return Status(path, status) && status.st_size > 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool File_t::Delete() const {
    const NativePath native(path);
    return native.IsUsable() && RemoveEntry(native.CStr());
}

bool File_t::Mkdirs() const {
    try {
        MakeFolders();
        return true;
    } catch (const IOException_t&) {
        return false;
    }
}

void File_t::MakeFolders() const {
    if (path.IsEmpty()) ThrowSystemError("Cannot make folder", path, ENOENT);
    if (IsDirectory()) return;
    std::vector<File_t> missing;
    for (File_t file = *this; file.IsNotNull() && !file.IsDirectory(); file = file.GetParentFile()) {
        missing.push_back(file);
    }
    for (auto file = missing.rbegin(); file != missing.rend(); ++file) MakeOne(*file);
}

bool File_t::RenameTo(const File_t& target) const {
    const NativePath from(path);
    const NativePath to(target.path);
    if (!from.IsUsable() || !to.IsUsable() || FaultAt("rename", from.CStr())) return false;
    if (std::rename(from.CStr(), to.CStr()) != 0) return false;
    Observe("rename", from.CStr(), to.CStr());
    return true;
}

bool File_t::SetMode(unsigned mode) const {
    const NativePath native(path);
    if (!native.IsUsable() || FaultAt("chmod", native.CStr()) || chmod(native.CStr(), mode) != 0) return false;
    Observe("chmod", native.CStr());
    return true;
}

bool File_t::Sync() const {
    const NativePath native(path);
    if (!native.IsUsable() || FaultAt("fsync", native.CStr())) return false;
    const int descriptor = open(native.CStr(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return false;
    const int error = fsync(descriptor) == 0 ? 0 : errno;
    close(descriptor);
    if (error == 0) Observe("fsync", native.CStr());
    // Callers inside of the layer name the reason.
    errno = error;
    return error == 0;
}

File_t File_t::CreateTempFile(const String_t& prefix, const File_t& directory) {
    CheckPrefix(prefix);
    const NativePath pattern(File_t(directory, prefix + "XXXXXX").path);
    const auto fail = [&](int error) {
        ThrowSystemError("Cannot make a temporary file in", directory.ToString(), error);
    };
    if (directory.path.IsEmpty()) fail(ENOENT);
    if (pattern.GetError() != 0) fail(pattern.GetError());
    const std::string text = pattern.CStr();
    std::vector<char> name(text.c_str(), text.c_str() + text.size() + 1);
    const int descriptor = MakeTemporary(name);
    if (descriptor < 0) fail(errno);
    close(descriptor);
    return File_t(PathFromNative(name.data()));
}

}  // namespace LumPalIo
