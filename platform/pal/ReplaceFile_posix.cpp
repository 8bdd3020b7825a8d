// ReplaceFile and RemoveLeftAside of LumPalDurable.h.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Descriptor_posix.h"
#include "Fault.h"
#include "LumPalDurable.h"
#include "NativePath_posix.h"
#include "SystemError.h"

namespace LumPalIo {
namespace {

using LumPalStr::String_t;

constexpr std::u16string_view kLettersAndDigits = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t kRandomLength = 6;

int Lock(int descriptor, int how) {
    int outcome;
    do {
        outcome = flock(descriptor, how);
    } while (outcome != 0 && errno == EINTR);
    return outcome;
}

/// A file aside, held by a lock that ends with this process however that ends. Where the file system knows no locks
/// nobody holds one, and nobody deletes what others left.
class Aside {
public:
    Aside(const String_t& prefix, const File_t& folder) : pattern(File_t(folder, prefix + "XXXXXX").ToString()) {
        if (!pattern.IsUsable()) ThrowSystemError("Cannot make a file in", folder.ToString(), errno);
        // Whoever tidies up may have met the file before it was held.
        do {
            Make(folder);
        } while (!IsThere());
    }
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;
    ~Aside() {
        if (!renamed && !FaultAt("unlink", path.c_str())) unlink(path.c_str());
    }

    void Write(const char* bytes, std::size_t length) {
        while (length > 0) {
            const ssize_t written = FaultAt("write", path.c_str()) ? -1 : write(file.Get(), bytes, length);
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) Fail("Cannot write file");
            bytes += written;
            length -= static_cast<std::size_t>(written);
            Observe("write", path.c_str());
        }
    }
    void Finish(unsigned mode) {
        if (FaultAt("chmod", path.c_str()) || fchmod(file.Get(), mode) != 0) Fail("Cannot set the mode of file");
        Observe("chmod", path.c_str());
        if (FaultAt("fsync", path.c_str()) || fsync(file.Get()) != 0) Fail("Cannot flush file");
        Observe("fsync", path.c_str());
    }
    void TakeThePlaceOf(const File_t& target) {
        const NativePath to(target.ToString());
        renamed = to.IsUsable() && !FaultAt("rename", path.c_str()) && std::rename(path.c_str(), to.CStr()) == 0;
        if (!renamed) ThrowSystemError("Cannot replace file", target.ToString(), errno);
        Observe("rename", path.c_str(), to.CStr());
    }

private:
    void Make(const File_t& folder) {
        path = pattern.CStr();
        file = LumPal::Descriptor(FaultAt("open", path.c_str()) ? -1 : mkostemp(path.data(), O_CLOEXEC));
        if (!file.IsOpen()) ThrowSystemError("Cannot make a file in", folder.ToString(), errno);
        Observe("open", path.c_str());
        Lock(file.Get(), LOCK_EX);
    }
    bool IsThere() const {
        struct stat status {};
        return fstat(file.Get(), &status) != 0 || status.st_nlink > 0;
    }
    [[noreturn]] void Fail(const char* action) const { ThrowSystemError(action, PathFromNative(path.c_str()), errno); }

    const NativePath pattern;
    std::string path;
    LumPal::Descriptor file;
    bool renamed = false;
};

bool BearsThePattern(const String_t& name, const String_t& prefix) {
    const std::u16string_view text = name.View();
    return text.size() == prefix.GetLength() + kRandomLength && text.starts_with(prefix.View()) &&
           text.find_first_not_of(kLettersAndDigits, prefix.GetLength()) == text.npos;
}

/// @return whether it was deleted
bool DeleteUnlessHeld(const File_t& left) {
    const NativePath native(left.ToString());
    struct stat status {};
    if (!native.IsUsable() || lstat(native.CStr(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid()) return false;
    const LumPal::Descriptor file(open(native.CStr(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (!file.IsOpen() || Lock(file.Get(), LOCK_EX | LOCK_NB) != 0) return false;
    return !FaultAt("unlink", native.CStr()) && unlink(native.CStr()) == 0;
}

File_t FolderOf(const File_t& file) {
    return File_t(file.GetAbsolutePath()).GetParentFile();
}

}  // namespace

void ReplaceFile(const File_t& file, const String_t& prefix, const LumPalArray::CharArray_t& bytes, unsigned mode) {
    if (prefix.Find(File_t::Separator()) != LumPalStr::NotFound) {
        throw LumPalMsg::IllegalArgumentError_t(
            LumPalMsg::CreateError_t("'%1' cannot begin the name of a temporary file.") << prefix);
    }
    const File_t folder = FolderOf(file);
    RemoveLeftAside(folder, prefix);
    Aside aside(prefix, folder);
    aside.Write(bytes.GetData(), bytes.GetLength());
    aside.Finish(mode);
    aside.TakeThePlaceOf(file);
    Flush(folder);
}

void RemoveLeftAside(const File_t& folder, const String_t& prefix) noexcept try {
    bool deleted = false;
    DirLister_t lister(folder);
    while (lister.Next()) {
        const File_t file = lister.GetCurrentFile();
        if (BearsThePattern(file.GetName(), prefix)) deleted = DeleteUnlessHeld(file) || deleted;
    }
    if (deleted) folder.Sync();  // what comes back after a power cut goes the next time
} catch (const std::exception&) {
    // A folder that cannot be listed, or no memory: what is left does no harm.
}

}  // namespace LumPalIo
