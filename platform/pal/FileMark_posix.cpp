// LumPalFileMark.h: what the system says of a file.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>

#include "LumPalFileMark.h"
#include "NativePath_posix.h"

namespace LumPalIo {
namespace {

// FAT counts two seconds; whoever else is coarse counts less.
constexpr std::chrono::nanoseconds kRest = std::chrono::milliseconds(2500);

std::int64_t Nanoseconds(const timespec& time) {
    return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
}

}  // namespace

std::optional<FileMark> MarkOf(const File_t& file, Links links) noexcept try {
    const NativePath native(file.ToString());
    struct stat status;
    const int flags = links == Links::Followed ? 0 : AT_SYMLINK_NOFOLLOW;
    if (!native.IsUsable() || fstatat(AT_FDCWD, native.CStr(), &status, flags) != 0) return std::nullopt;
    return FileMark{status.st_ino, static_cast<std::uint64_t>(status.st_size), Nanoseconds(status.st_mtim),
                    Nanoseconds(status.st_ctim)};
} catch (const std::exception&) {
    return std::nullopt;
}

bool IsAtRest(const FileMark& mark) noexcept {
    const std::chrono::nanoseconds now = std::chrono::system_clock::now().time_since_epoch();
    return now - std::chrono::nanoseconds(std::max(mark.modified, mark.changed)) > kRest;
}

}  // namespace LumPalIo
