#include "AppendFile_posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <utility>

#include "Descriptor_posix.h"
#include "Fault.h"
#include "LumPalIo.h"
#include "SystemError.h"

namespace LumPalLog {

using LumPalIo::File_t;

namespace {

constexpr int kPassing[] = {ENOSPC, EDQUOT, EROFS, EIO, EMFILE, ENFILE, ENOMEM};

}  // namespace

AppendFile::~AppendFile() {
    Close();
}

void AppendFile::Close() noexcept {
    if (descriptor >= 0) close(std::exchange(descriptor, -1));
}

int AppendFile::TryOpen() const {
    if (LumPalIo::FaultAt("open", path.c_str())) return -1;
    // Without waiting: a pipe that stands there must not hold the caller.
    return open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK,
                static_cast<mode_t>(limits.mode));
}

void AppendFile::FailToOpen(int error) {
    mayOpenLater = std::find(std::begin(kPassing), std::end(kPassing), error) != std::end(kPassing);
    LumPalIo::ThrowSystemError("Cannot open log file", Name(), error);
}

void AppendFile::Open() {
    Close();
    descriptor = TryOpen();
    if (descriptor < 0 && errno == ENOENT) {
        const File_t folder = File_t(Name()).GetParentFile();
        // Once more for a folder whose name could not be flushed: it was taken away again.
        if (folder.Mkdirs() || folder.Mkdirs()) descriptor = TryOpen();
    }
    if (descriptor < 0) FailToOpen(errno);
    CheckKind();
    torn = !EndsInALine();
}

void AppendFile::CheckKind() {
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return;
    Close();
    mayOpenLater = false;
    throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("The log '%1' is no regular file.") << Name());
}

/// One that cannot be read is taken for whole.
bool AppendFile::EndsInALine() const {
    if (LumPalIo::FaultAt("read", path.c_str())) return true;
    const LumPal::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK));
    struct stat status {};
    char last = '\n';
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || status.st_size == 0) return true;
    return pread(file.Get(), &last, 1, status.st_size - 1) != 1 || last == '\n';
}

LumPalStr::String_t AppendFile::Name() const {
    return LumPalStr::String_t::FromUtf8(path);
}

bool AppendFile::IsStillThere() const {
    struct stat named {};
    struct stat open {};
    return descriptor >= 0 && lstat(path.c_str(), &named) == 0 && fstat(descriptor, &open) == 0 &&
           named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

bool AppendFile::IsFullFor(std::size_t more) const {
    struct stat status {};
    if (limits.maxBytes == 0 || fstat(descriptor, &status) != 0 || status.st_size == 0) return false;
    return static_cast<std::size_t>(status.st_size) + more > limits.maxBytes;
}

bool AppendFile::Rotate() {
    if (LumPalIo::FaultAt("rename", path.c_str())) return false;
    const auto old = [this](unsigned number) { return path + "." + std::to_string(number); };
    for (unsigned number = limits.oldFiles; number > 1; --number) {
        std::rename(old(number - 1).c_str(), old(number).c_str());  // not there yet: nothing to keep
    }
    return limits.oldFiles > 0 ? std::rename(path.c_str(), old(1).c_str()) == 0 : unlink(path.c_str()) == 0;
}

void AppendFile::Append(const std::string& bytes) {
    if (!IsStillThere()) Open();
    if (IsFullFor(bytes.size() + torn)) {
        EndTornLine();
        if (Rotate()) Open();
    }
    Write(torn ? "\n" + bytes : bytes);
}

/// In one write, unless the room ends on the way: a second one then tells why.
void AppendFile::Write(const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const bool fault = LumPalIo::FaultAt("write", path.c_str());
        const ssize_t written = fault ? -1 : write(descriptor, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) LumPalIo::ThrowSystemError("Cannot write log file", Name(), written < 0 ? errno : ENOSPC);
        done += static_cast<std::size_t>(written);
        torn = bytes[done - 1] != '\n';
    }
}

/// Where there is no room for the end, nothing will stand behind the line.
void AppendFile::EndTornLine() noexcept try {
    if (torn) Write("\n");
} catch (const std::exception&) {
}

}  // namespace LumPalLog
