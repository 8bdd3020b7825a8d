/// @file
/// Paths as the system takes them.
#pragma once

#include <string>

#include "LumPalStr.h"

namespace LumPalIo {

/// A path in the system's bytes: UTF-8 whatever the locale. Bytes of a listed name that are no UTF-8 are
/// held as lone surrogates U+DC80 to U+DCFF and come back as the same bytes, so that every listed entry can
/// be opened and removed again.
class NativePath {
public:
    explicit NativePath(const LumPalStr::String_t& path);
    /// 0, or the errno value that every operation on the path fails with: null or empty (ENOENT), a NUL
    /// inside (EINVAL), or text that no bytes stand for (EILSEQ).
    int GetError() const noexcept { return error; }
    /// True when the path can be used; else errno is set.
    bool IsUsable() const noexcept;
    const char* CStr() const noexcept { return bytes.c_str(); }

private:
    std::string bytes;
    int error = 0;
};

/// The text for a name that the system gave.
LumPalStr::String_t PathFromNative(const char* name);

}  // namespace LumPalIo
