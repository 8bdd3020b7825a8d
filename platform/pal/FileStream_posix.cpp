// FileInputStream_t and FileOutputStream_t of LumPalIo.h.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Fault.h"
#include "LostBytes.h"
#include "LumPalIo.h"
#include "LumPalPlainFile.h"
#include "NativePath_posix.h"
#include "OpenFolder_posix.h"
#include "StreamCheck.h"
#include "SystemError.h"

namespace LumPalIo {
namespace {

using LumPalStr::String_t;

// Nothing that the layer makes is open to others; umask may narrow it further.
constexpr mode_t FileMode = 0640;
// A pipe or a modem line must not hold the opener up.
constexpr int CommonFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

/// What may stand under a name that is opened.
enum class Kinds { Files, FilesAndDevices };

/// An open file and its path.
class Descriptor {
public:
    Descriptor(const String_t& path, int flags, Kinds kinds = Kinds::FilesAndDevices)
        : Descriptor(AT_FDCWD, "", path, flags, kinds) {}
    /// @param folder  where `name` is looked up, `path` then is for messages; AT_FDCWD: the path itself
    Descriptor(int folder, const char* name, const String_t& path, int flags, Kinds kinds = Kinds::FilesAndDevices)
        : path(path), native(path), writes((flags & O_ACCMODE) != O_RDONLY), kinds(kinds) {
        if (!native.IsUsable()) Fail("Cannot open file", native.GetError());
        if (kinds == Kinds::Files) CheckName();
        const bool fault = FaultAt(writes ? "open" : "read", native.CStr());
        const char* const opened = folder == AT_FDCWD ? native.CStr() : name;
        number = fault ? -1 : openat(folder, opened, flags | CommonFlags, FileMode);
        if (number < 0) Fail("Cannot open file", errno);
        CheckKind();
        if (writes) Observe("open", native.CStr());
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) close(number);
    }

    /// @throws IOException_t when it is closed
    int Get() const {
        CheckOpen(number >= 0);
        return number;
    }
    const char* NativeName() const { return native.CStr(); }
    [[noreturn]] void Fail(const char* action, int error) const { ThrowSystemError(action, path, error); }
    void Close() {
        if (number < 0) return;
        const bool fault = writes && FaultAt("close", native.CStr());
        const bool closed = close(std::exchange(number, -1)) == 0 || errno == EINTR;
        if (fault || !closed) Fail("Cannot close file", fault ? EIO : errno);
    }

private:
    /// Only files, and devices such as /dev/null: a pipe in the place of a file is somebody's trap.
    int ErrorOf(mode_t mode) const {
        if (S_ISDIR(mode)) return EISDIR;
        return S_ISREG(mode) || (S_ISCHR(mode) && kinds == Kinds::FilesAndDevices) ? 0 : ENOTSUP;
    }
    /// Opening a device may already do something. What cannot be looked at is told by opening it.
    void CheckName() const {
        struct stat status {};
        if (stat(native.CStr(), &status) != 0) return;
        if (const int error = ErrorOf(status.st_mode)) Fail("Cannot open file", error);
    }
    void CheckKind() {
        struct stat status {};
        int error = fstat(number, &status) == 0 ? ErrorOf(status.st_mode) : errno;
        if (error == 0 && S_ISCHR(status.st_mode)) error = Wait();  // for a file the flag says nothing
        if (error == 0) return;
        close(std::exchange(number, -1));
        Fail("Cannot open file", error);
    }
    int Wait() const { return fcntl(number, F_SETFL, fcntl(number, F_GETFL) & ~O_NONBLOCK) == 0 ? 0 : errno; }

    String_t path;
    NativePath native;
    const bool writes;
    const Kinds kinds;
    int number = -1;
};

class FileInput : public InputStream_t::Impl {
public:
    explicit FileInput(const String_t& path, Kinds kinds = Kinds::FilesAndDevices) : file(path, O_RDONLY, kinds) {}
    FileInput(const OpenFolder& folder, const char* name)
        : file(folder.Get(), name, folder.PathOf(name), O_RDONLY | O_NOFOLLOW) {}

    std::int64_t Read(char* target, std::size_t length) override {
        ssize_t got = 0;
        do {
            got = read(file.Get(), target, length);
        } while (got < 0 && errno == EINTR);
        if (got < 0) file.Fail("Cannot read file", errno);
        position += got;
        return got == 0 ? -1 : got;
    }

    std::size_t Available() override {
        struct stat status {};
        if (fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode)) {
            return static_cast<std::size_t>(std::max<off_t>(status.st_size - position, 0));
        }
        int waiting = 0;
        return ioctl(file.Get(), FIONREAD, &waiting) == 0 ? static_cast<std::size_t>(waiting) : 0;
    }

    void Close() override { file.Close(); }

private:
    Descriptor file;
    off_t position = 0;  ///< bytes read so far: nobody else moves in this open file
};

class FileOutput : public OutputStream_t::Impl {
public:
    explicit FileOutput(const String_t& path) : file(path, O_WRONLY | O_CREAT | O_TRUNC) {}
    FileOutput(const OpenFolder& folder, const char* name)
        : file(folder.Get(), name, folder.PathOf(name), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW) {}
    ~FileOutput() override {
        LogWhatIsLost("a file", [this] { file.Close(); });
    }

    void Write(const char* bytes, std::size_t length) override {
        file.Get();
        if (length > 0) Observe("write", file.NativeName());
        while (length > 0) {
            const ssize_t written = FaultAt("write", file.NativeName()) ? -1 : write(file.Get(), bytes, length);
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) file.Fail("Cannot write file", errno);
            bytes += written;
            length -= static_cast<std::size_t>(written);
        }
    }

    void Sync() {
        if (FaultAt("fsync", file.NativeName()) || fsync(file.Get()) != 0) file.Fail("Cannot flush file", errno);
        Observe("fsync", file.NativeName());
    }

    void SetMode(unsigned mode) {
        if (FaultAt("chmod", file.NativeName()) || fchmod(file.Get(), mode) != 0) {
            file.Fail("Cannot set the mode of file", errno);
        }
        Observe("chmod", file.NativeName());
    }

    void Close() override { file.Close(); }

private:
    Descriptor file;
};

}  // namespace

std::shared_ptr<InputStream_t::Impl> OpenToRead(const OpenFolder& folder, const char* name) {
    return std::make_shared<FileInput>(folder, name);
}

std::shared_ptr<OutputStream_t::Impl> CreateToWrite(const OpenFolder& folder, const char* name) {
    return std::make_shared<FileOutput>(folder, name);
}

FileInputStream_t::FileInputStream_t(const String_t& path) : InputStream_t(std::make_shared<FileInput>(path)) {}
FileInputStream_t::FileInputStream_t(const File_t& file) : FileInputStream_t(file.ToString()) {}
FileOutputStream_t::FileOutputStream_t(const String_t& path) : OutputStream_t(std::make_shared<FileOutput>(path)) {}
FileOutputStream_t::FileOutputStream_t(const File_t& file) : FileOutputStream_t(file.ToString()) {}

InputStream_t OpenPlainFile(const File_t& file) {
    return InputStream_t(std::make_shared<FileInput>(file.ToString(), Kinds::Files));
}

void FileOutputStream_t::Sync() {
    CheckOpen(impl != nullptr);
    static_cast<FileOutput&>(*impl).Sync();
}

void FileOutputStream_t::SetMode(unsigned mode) {
    CheckOpen(impl != nullptr);
    static_cast<FileOutput&>(*impl).SetMode(mode);
}

}  // namespace LumPalIo
