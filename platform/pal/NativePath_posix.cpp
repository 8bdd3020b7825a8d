#include "NativePath_posix.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "StringAscii.h"

namespace LumPalIo {
namespace {

using LumPalStr::String_t;

constexpr char16_t EscapeBase = 0xDC00;

bool IsEscape(UChar32 point) {
    return point >= EscapeBase + 0x80 && point <= EscapeBase + 0xFF;
}

void AppendPoint(std::string& bytes, UChar32 point) {
    if (IsEscape(point)) {
        bytes += static_cast<char>(point - EscapeBase);
        return;
    }
    char encoded[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(encoded, length, point);
    bytes.append(encoded, length);
}

std::string EscapedBytes(std::u16string_view path) {
    std::string bytes;
    for (std::size_t i = 0; i < path.size();) {
        UChar32 point = 0;
        U16_NEXT(path.data(), i, path.size(), point);
        AppendPoint(bytes, point);
    }
    return bytes;
}

bool HasSurrogateAlone(std::u16string_view path) {
    if (LumPalStr::Ascii::Prefix(path.data(), path.size()) == path.size()) return false;
    for (std::size_t i = 0; i < path.size();) {
        UChar32 point = 0;
        U16_NEXT(path.data(), i, path.size(), point);
        if (U_IS_SURROGATE(point)) return true;
    }
    return false;
}

}  // namespace

String_t PathFromNative(const char* name) {
    const auto length = std::strlen(name);
    if (LumPalStr::Ascii::Prefix(name, length) == length) return String_t(name);
    String_t text;
    for (std::size_t i = 0; i < length;) {
        const std::size_t start = i;
        UChar32 point = 0;
        U8_NEXT(name, i, length, point);
        if (point < 0) {
            i = start + 1;
            text += LumPalStr::UTF16CodePoint_t(
                static_cast<char16_t>(EscapeBase + static_cast<unsigned char>(name[start])));
        } else if (point > 0xFFFF) {
            const char16_t pair[] = {U16_LEAD(point), U16_TRAIL(point)};
            text.Append(pair, 2);
        } else {
            text += LumPalStr::UTF16CodePoint_t(static_cast<char16_t>(point));
        }
    }
    return text;
}

NativePath::NativePath(const String_t& path) {
    const bool escaped = HasSurrogateAlone(path.View());
    bytes = escaped ? EscapedBytes(path.View()) : path.ToUtf8();
    if (path.IsEmpty()) {
        error = ENOENT;
    } else if (bytes.find('\0') != std::string::npos) {
        // Cut at the NUL it would be another file than the one that was checked.
        error = EINVAL;
    } else if (escaped && PathFromNative(bytes.c_str()) != path) {
        // Two different texts must never reach the same file.
        error = EILSEQ;
    }
    // With a separator behind it the system would follow a symbolic link before anybody could look at the link.
    while (bytes.size() > 1 && bytes.back() == '/') bytes.pop_back();
}

bool NativePath::IsUsable() const noexcept {
    if (error != 0) errno = error;
    return error == 0;
}

}  // namespace LumPalIo
