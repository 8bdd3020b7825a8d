// Folder_t of LumPalIo.h.
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>

#include "Fault.h"
#include "LumPalIo.h"
#include "NativePath_posix.h"
#include "OpenFolder_posix.h"
#include "SystemError.h"

namespace LumPalIo {

using LumPalStr::String_t;

namespace {

constexpr int kAttempts = 100;

/// A single name in the system's bytes.
class EntryName {
public:
    explicit EntryName(const String_t& name) : native(name), single(IsSingle(native.CStr())) {}
    /// True for a name that an entry can bear; else errno is set.
    bool IsUsable() const noexcept {
        if (!native.IsUsable()) return false;
        if (!single) errno = EINVAL;
        return single;
    }
    const char* CStr() const noexcept { return native.CStr(); }

private:
    static bool IsSingle(const std::string& name) {
        return name != "." && name != ".." && name.find('/') == std::string::npos;
    }

    const NativePath native;
    const bool single;
};

String_t RandomSuffix() {
    std::uint64_t bits = 0;
    if (getrandom(&bits, sizeof bits, 0) != sizeof bits) ThrowSystemError("Cannot draw a name", String_t(), errno);
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(bits));
    return String_t(text);
}

Folder_t::Entry KindOf(const struct stat& status) {
    if (S_ISREG(status.st_mode)) return status.st_nlink == 1 ? Folder_t::Entry::File : Folder_t::Entry::Linked;
    if (S_ISDIR(status.st_mode)) return Folder_t::Entry::Directory;
    return S_ISLNK(status.st_mode) ? Folder_t::Entry::SymbolicLink : Folder_t::Entry::Other;
}

/// Looked at and changed through one descriptor, so that nothing is put in between.
/// @param path  of the entry, for the hooks
bool ChangeMode(int folder, const char* name, const char* path, unsigned mode) {
    const LumPal::Descriptor entry(openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!entry.IsOpen() || fstat(entry.Get(), &status) != 0) return false;
    const Folder_t::Entry kind = KindOf(status);
    if (kind != Folder_t::Entry::File && kind != Folder_t::Entry::Directory) {
        errno = EPERM;
        return false;
    }
    if ((status.st_mode & 07777) == mode) return true;
    if (FaultAt("chmod", path) || fchmod(entry.Get(), mode) != 0) return false;
    Observe("chmod", path);
    return true;
}

void Flush(int (*flush)(int), const char* operation, int descriptor, const String_t& path) {
    const NativePath native(path);
    if (FaultAt(operation, native.CStr()) || flush(descriptor) != 0) ThrowSystemError("Cannot flush", path, errno);
    Observe(operation, native.CStr());
}

}  // namespace

OpenFolder::OpenFolder(const String_t& path) : path(path) {
    const NativePath native(path);
    if (!native.IsUsable()) ThrowSystemError("Cannot open folder", path, native.GetError());
    descriptor = LumPal::Descriptor(open(native.CStr(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // For a link the system says that it is no directory, as if nothing were there.
    if (!descriptor.IsOpen() && errno == ENOTDIR && File_t(path).IsSymbolicLink()) {
        throw IOException_t(LumPalMsg::CreateError_t("'%1' is a symbolic link.") << path);
    }
    if (!descriptor.IsOpen()) ThrowSystemError("Cannot open folder", path, errno);
}

String_t OpenFolder::PathOf(const char* name) const {
    return File_t(path, PathFromNative(name)).ToString();
}

struct Folder_t::Impl {
    explicit Impl(const String_t& path) : folder(path) {}
    std::string NativeOf(const EntryName& name) const {
        return NativePath(folder.Path()).CStr() + ('/' + std::string(name.CStr()));
    }

    const OpenFolder folder;
};

Folder_t::Folder_t(const File_t& path) : impl(std::make_shared<const Impl>(path.ToString())) {}

File_t Folder_t::Path(const String_t& name) const {
    return File_t(impl->folder.Path(), name);
}

Folder_t::Entry Folder_t::Look(const String_t& name) const {
    const EntryName entry(name);
    struct stat status {};
    if (!entry.IsUsable()) return Entry::None;
    if (fstatat(impl->folder.Get(), entry.CStr(), &status, AT_SYMLINK_NOFOLLOW) == 0) return KindOf(status);
    // A name that is too long for the file system is nobody's.
    if (errno == ENOENT || errno == ENAMETOOLONG) return Entry::None;
    ThrowSystemError("Cannot look at", Path(name).ToString(), errno);
}

FileInputStream_t Folder_t::Open(const String_t& name) const {
    const EntryName entry(name);
    if (!entry.IsUsable()) ThrowSystemError("Cannot open file", Path(name).ToString(), errno);
    return FileInputStream_t(OpenToRead(impl->folder, entry.CStr()));
}

FileOutputStream_t Folder_t::Create(const String_t& name) const {
    const EntryName entry(name);
    if (!entry.IsUsable()) ThrowSystemError("Cannot make file", Path(name).ToString(), errno);
    return FileOutputStream_t(CreateToWrite(impl->folder, entry.CStr()));
}

FileOutputStream_t Folder_t::CreateUnused(const String_t& prefix, String_t& name) const {
    for (int attempt = 1; attempt < kAttempts; ++attempt) {
        name = prefix + RandomSuffix();
        if (Look(name) == Entry::None) break;
    }
    return Create(name);
}

bool Folder_t::Delete(const String_t& name) const {
    const EntryName entry(name);
    if (!entry.IsUsable()) return false;
    const std::string path = impl->NativeOf(entry);
    const auto remove = [&](const char* operation, int flags) {
        if (FaultAt(operation, path.c_str()) || unlinkat(impl->folder.Get(), entry.CStr(), flags) != 0) return false;
        Observe(operation, path.c_str());
        return true;
    };
    if (remove("unlink", 0)) return true;
    // For a directory Linux says EISDIR, POSIX EPERM.
    return (errno == EISDIR || errno == EPERM) && remove("rmdir", AT_REMOVEDIR);
}

bool Folder_t::SetMode(const String_t& name, unsigned mode) const {
    const EntryName entry(name);
    if (!entry.IsUsable()) return false;
    return ChangeMode(impl->folder.Get(), entry.CStr(), impl->NativeOf(entry).c_str(), mode);
}

bool Folder_t::Move(const String_t& name, const Folder_t& target, const String_t& newName) const {
    const EntryName from(name), to(newName);
    if (!from.IsUsable() || !to.IsUsable()) return false;
    const std::string oldPath = impl->NativeOf(from), newPath = target.impl->NativeOf(to);
    if (FaultAt("rename", oldPath.c_str())) return false;
    if (renameat(impl->folder.Get(), from.CStr(), target.impl->folder.Get(), to.CStr()) != 0) return false;
    Observe("rename", oldPath.c_str(), newPath.c_str());
    return true;
}

void Folder_t::SyncFile(const String_t& name) const {
    const EntryName entry(name);
    const String_t path = Path(name).ToString();
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const LumPal::Descriptor file(entry.IsUsable() ? openat(impl->folder.Get(), entry.CStr(), flags) : -1);
    if (!file.IsOpen()) ThrowSystemError("Cannot open file", path, errno);
    Flush(fsync, "fsync", file.Get(), path);
}

void Folder_t::Sync() const {
    Flush(fsync, "fsync", impl->folder.Get(), impl->folder.Path());
}

void Folder_t::SyncAll() const {
    Flush(syncfs, "syncfs", impl->folder.Get(), impl->folder.Path());
}

}  // namespace LumPalIo
