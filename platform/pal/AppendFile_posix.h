/// @file
/// A file that only grows, line by line, and is rotated by size.
#pragma once

#include <cstddef>
#include <string>

#include "LumPalStr.h"

namespace LumPalLog {

/// Appends each text by one write(2), as long as there is room for it. Not for several threads at a time.
///
/// Before each write it looks whether the path still names the open file, and opens it anew when
/// somebody took it away. A line that was cut for want of room, also by a former process, stands alone: the next one
/// begins behind it.
class AppendFile {
public:
    struct Limits {
        unsigned mode = 0644;
        std::size_t maxBytes = 0;  ///< a write that would pass it rotates first; 0: never
        unsigned oldFiles = 0;     ///< NAME.1 (the youngest) to NAME.oldFiles are kept
    };
    AppendFile(std::string path, const Limits& limits) : path(std::move(path)), limits(limits) {}
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;
    ~AppendFile();
    /// Opens or makes the file, and its folder.
    /// @throws LumPalIo::IOException_t; also when it is no regular file
    void Open();
    /// Whether the last Open failed for a reason that passes: no room, a disk that cannot be written, no descriptors.
    bool MayOpenLater() const noexcept { return mayOpenLater; }
    /// Appends the bytes, a line or more with their ends. A file that cannot be rotated grows on.
    /// @throws LumPalIo::IOException_t when not all of it could be written
    void Append(const std::string& bytes);

private:
    LumPalStr::String_t Name() const;
    int TryOpen() const;
    [[noreturn]] void FailToOpen(int error);
    void CheckKind();
    bool EndsInALine() const;
    void Write(const std::string& bytes);
    void EndTornLine() noexcept;
    bool IsStillThere() const;
    bool IsFullFor(std::size_t more) const;
    bool Rotate();
    void Close() noexcept;

    const std::string path;
    const Limits limits;
    int descriptor = -1;
    bool mayOpenLater = false;
    bool torn = false;  // the last line was cut by a failure: the next one needs a line of its own
};

}  // namespace LumPalLog
