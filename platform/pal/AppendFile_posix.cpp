#include "AppendFile_posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "Fault.h"
#include "LumPalIo.h"
#include "SystemError.h"

namespace LumPalLog {

using LumPalStr::String_t;

AppendFile::~AppendFile() {
    Close();
}

void AppendFile::Close() noexcept {
    if (descriptor >= 0) close(std::exchange(descriptor, -1));
}

void AppendFile::Open() {
    Close();
    if (LumPalIo::FaultAt("open", path.c_str())) LumPalIo::ThrowSystemError("Cannot open log file", Name(), errno);
    // Without waiting: a pipe that stands there must not hold the caller.
    descriptor = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK,
                      static_cast<mode_t>(limits.mode));
    if (descriptor < 0) LumPalIo::ThrowSystemError("Cannot open log file", Name(), errno);
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return;
    Close();
    throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("The log '%1' is no regular file.") << Name());
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
    if (IsFullFor(bytes.size()) && Rotate()) Open();
    const std::string whole = torn ? "\n" + bytes : bytes;
    const bool fault = LumPalIo::FaultAt("write", path.c_str());
    const ssize_t written = fault ? -1 : write(descriptor, whole.data(), whole.size());
    if (written == static_cast<ssize_t>(whole.size())) {
        torn = false;
        return;
    }
    if (written < 0) LumPalIo::ThrowSystemError("Cannot write log file", Name(), errno);
    torn = true;
    throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("The log file '%1' took only a part of a line.") << Name());
}

}  // namespace LumPalLog
