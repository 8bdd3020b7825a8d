#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "ConfigFiles.h"
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

class Descriptor {
public:
    Descriptor(const String_t& path, int flags, mode_t mode = 0)
        : path(path), number(Open(LumPalIo::NativePath(path), flags | O_CLOEXEC | O_NOCTTY, mode)) {}
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
LumPalArray::CharArray_t ReadAll(const Descriptor& file, std::size_t expected) {
    LumPalArray::CharArray_t bytes(expected + 1);
    std::size_t size = 0;
    while (const std::size_t count = ReadSome(file, bytes.GetData() + size, bytes.GetLength() - size)) {
        size += count;
        if (size == bytes.GetLength()) bytes.Resize(2 * size);
    }
    bytes.Resize(size);
    return bytes;
}

void SetMode(const String_t& path) {
    if (!File_t(path).SetMode(FileMode)) ThrowSystemError("Cannot set the mode of file", path, errno);
}

void Rename(const String_t& from, const String_t& to) {
    if (!File_t(from).RenameTo(File_t(to))) ThrowSystemError("Cannot replace file", to, errno);
}

String_t Aside(const String_t& folder, const String_t& name) {
    return folder + name + ".tmp";
}

}  // namespace

FileIdentity IdentityOf(const String_t& path) {
    struct stat status {};
    const LumPalIo::NativePath native(path);
    if (native.IsUsable() && stat(native.CStr(), &status) == 0) return FromStatus(status);
    if (!IsAbsence(errno)) ThrowSystemError("Cannot look at file", path, errno);
    return {};
}

FileSnapshot ReadSnapshot(const String_t& path) {
    const auto file = std::make_shared<Descriptor>(path, O_RDONLY | O_NONBLOCK);
    if (file->Get() < 0 && IsAbsence(errno)) return {};
    struct stat status {};
    if (file->Get() < 0 || fstat(file->Get(), &status) != 0) file->Fail("Cannot open file");
    if (!S_ISREG(status.st_mode)) ThrowSystemError("Cannot read file", path, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    return {FromStatus(status), ReadAll(*file, static_cast<std::size_t>(status.st_size)), file};
}

void ReplaceFile(const String_t& folder, const String_t& name, const LumPalArray::CharArray_t& bytes) {
    const String_t aside = Aside(folder, name);
    try {
        LumPalIo::FileOutputStream_t stream(aside);
        stream.Write(bytes);
        SetMode(aside);
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

void PromoteFile(const String_t& folder, const String_t& from, const String_t& to) {
    const String_t path = folder + from;
    SetMode(path);
    LumPalIo::Flush(path);
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
