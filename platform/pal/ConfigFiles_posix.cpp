#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "CfgText.h"
#include "ConfigFiles.h"
#include "DescriptorRoom.h"
#include "Fault.h"
#include "LumPalDurable.h"
#include "LumPalIo.h"
#include "NativePath_posix.h"
#include "SystemError.h"

namespace LumPalConfig {
namespace {

using LumPalIo::File_t;
using LumPalIo::ThrowSystemError;
using LumPalStr::String_t;

constexpr unsigned FileMode = 0640;
constexpr char LockName[] = ".lock";
constexpr char AsideSuffix[] = ".tmp";
// Neither a link nor a pipe in the place of a file leads anywhere or holds anybody up.
constexpr int kCommonFlags = O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;

class Descriptor {
public:
    Descriptor(const String_t& path, int flags, mode_t mode = 0)
        : path(path), number(Open(LumPalIo::NativePath(path), flags | kCommonFlags, mode)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) close(number);
    }
    int Get() const noexcept { return number; }
    [[noreturn]] void Fail(const char* action) const { ThrowSystemError(action, path, errno); }

private:
    static int Open(const LumPalIo::NativePath& native, int flags, mode_t mode) {
        if (!native.IsUsable() || LumPalIo::FaultAt(flags & O_CREAT ? "open" : "read", native.CStr())) return -1;
        return open(native.CStr(), flags, mode);
    }

    const String_t path;
    const int number;
};

bool IsAbsence(int error) {
    return error == ENOENT || error == ENOTDIR;
}

FileIdentity FromStatus(const struct stat& status) {
    return {true, status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
            status.st_mtim.tv_sec * 1'000'000'000LL + status.st_mtim.tv_nsec};
}

std::size_t ReadSome(const Descriptor& file, char* target, std::size_t length) {
    ssize_t count;
    do {
        count = read(file.Get(), target, length);
    } while (count < 0 && errno == EINTR);
    if (count < 0) file.Fail("Cannot read file");
    return static_cast<std::size_t>(count);
}

// A file that grows meanwhile is read to its new end.
LumPalArray::CharArray_t ReadAll(const Descriptor& file, const String_t& path, std::uint64_t expected) {
    if (expected > LumPalCfgFile::kLargestFile) LumPalCfgFile::RefuseTooLarge(path);
    LumPalArray::CharArray_t bytes(static_cast<std::size_t>(expected) + 1);
    std::size_t size = 0;
    while (const std::size_t count = ReadSome(file, bytes.GetData() + size, bytes.GetLength() - size)) {
        size += count;
        if (size > LumPalCfgFile::kLargestFile) LumPalCfgFile::RefuseTooLarge(path);
        if (size == bytes.GetLength()) bytes.Resize(2 * size);
    }
    bytes.Resize(size);
    return bytes;
}

/// Sets its mode and forces it to the disk, whatever its name leads to meanwhile.
void Finish(const Descriptor& file, const String_t& path) {
    const LumPalIo::NativePath native(path);
    if (LumPalIo::FaultAt("chmod", native.CStr()) || fchmod(file.Get(), FileMode) != 0)
        file.Fail("Cannot set the mode of file");
    LumPalIo::Observe("chmod", native.CStr());
    if (LumPalIo::FaultAt("fsync", native.CStr()) || fsync(file.Get()) != 0) file.Fail("Cannot flush file");
    LumPalIo::Observe("fsync", native.CStr());
}

/// What a killed program left in the place of the file goes first, and so does a link, which is never written through.
LumPalIo::FileOutputStream_t MakeAnew(const String_t& folder, const String_t& name) {
    using Entry = LumPalIo::Folder_t::Entry;
    const LumPalIo::Folder_t place{File_t(folder)};
    const Entry there = place.Look(name);
    if (there == Entry::File || there == Entry::Linked || there == Entry::SymbolicLink) place.Delete(name);
    return place.Create(name);
}

void Rename(const String_t& from, const String_t& to) {
    if (!File_t(from).RenameTo(File_t(to))) ThrowSystemError("Cannot replace file", to, errno);
}

String_t Aside(const String_t& folder, const String_t& name) {
    return folder + name + AsideSuffix;
}

}  // namespace

FileIdentity IdentityOf(const String_t& path) {
    struct stat status {};
    const LumPalIo::NativePath native(path);
    if (native.IsUsable() && lstat(native.CStr(), &status) == 0) return FromStatus(status);
    if (!IsAbsence(errno)) ThrowSystemError("Cannot look at file", path, errno);
    return {};
}

FileSnapshot ReadSnapshot(const String_t& path) {
    const auto file = std::make_shared<Descriptor>(path, O_RDONLY | O_NONBLOCK);
    if (file->Get() < 0 && IsAbsence(errno)) return {};
    struct stat status {};
    if (file->Get() < 0 || fstat(file->Get(), &status) != 0) file->Fail("Cannot open file");
    if (!S_ISREG(status.st_mode)) ThrowSystemError("Cannot read file", path, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    return {FromStatus(status), ReadAll(*file, path, static_cast<std::uint64_t>(status.st_size)), file,
            LumPal::LeavesEnough(file->Get(), LumPal::DescriptorUse::Caller)};
}

void ReplaceFile(const String_t& folder, const String_t& name, const LumPalArray::CharArray_t& bytes) {
    const String_t aside = Aside(folder, name);
    LumPalIo::FileOutputStream_t stream = MakeAnew(folder, name + AsideSuffix);
    try {
        stream.Write(bytes);
        stream.SetMode(FileMode);
        stream.Sync();
        stream.Close();
        Rename(aside, folder + name);
    } catch (...) {
        File_t(aside).Delete();
        throw;
    }
    LumPalIo::Flush(folder);
}

void FlushFile(const String_t& folder, const String_t& name) {
    const File_t file(folder + name);
    if (file.Exists()) LumPalIo::Flush(file);
    LumPalIo::Flush(folder);
}

bool IsLeftAside(const String_t& folder, const String_t& name) {
    struct stat status {};
    const LumPalIo::NativePath native(Aside(folder, name));
    return native.IsUsable() && lstat(native.CStr(), &status) == 0 && S_ISREG(status.st_mode);
}

void RemoveLeftAside(const String_t& folder, const String_t& name) {
    // What comes back after a power cut goes the next time.
    if (IsLeftAside(folder, name) && File_t(Aside(folder, name)).Delete()) File_t(folder).Sync();
}

void PromoteFile(const FileSnapshot& file, const String_t& folder, const String_t& from, const String_t& to) {
    const String_t path = folder + from;
    Finish(*std::static_pointer_cast<const Descriptor>(file.pin), path);
    if (!(IdentityOf(path) == file.identity)) ThrowSystemError("Cannot take over file", path, ESTALE);
    Rename(path, folder + to);
    LumPalIo::Flush(folder);
}

FolderLock::FolderLock(const String_t& folder, IfHeld ifHeld) {
    File_t(folder).MakeFolders();
    const auto file = std::make_shared<Descriptor>(folder + LockName, O_RDWR | O_CREAT, FileMode);
    if (file->Get() < 0) file->Fail("Cannot open lock file");
    int outcome;
    do {
        outcome = flock(file->Get(), ifHeld == IfHeld::Wait ? LOCK_EX : LOCK_EX | LOCK_NB);
    } while (outcome != 0 && errno == EINTR);
    if (outcome != 0 && errno == EWOULDBLOCK) return;
    if (outcome != 0) file->Fail("Cannot lock file");
    descriptor = file;
}

}  // namespace LumPalConfig
