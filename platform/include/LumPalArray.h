/// @file
/// Byte and UTF-16 buffers.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalArray {

/// A byte buffer with a length. A value: a copy is a copy of the bytes.
class LUMPAL_API CharArray_t {
public:
    CharArray_t() = default;
    /// A buffer of `size` bytes, each `fill`.
    explicit CharArray_t(std::size_t size, char fill = 0);
    /// The bytes of a terminated text, without its terminator; null gives an empty buffer.
    explicit CharArray_t(const char* text);
    /// The text in UTF-8.
    explicit CharArray_t(const char16_t* text);
    explicit CharArray_t(const LumPalStr::String_t& text);
    CharArray_t(const char* bytes, std::size_t length);

    void Resize(std::size_t size) { bytes.resize(size); }
    /// Takes memory ahead; the length stays.
    void Reserve(std::size_t size) { bytes.reserve(size); }
    void Append(const char* source, std::size_t length) { bytes.insert(bytes.end(), source, source + length); }
    std::size_t GetLength() const noexcept { return bytes.size(); }
    bool IsEmpty() const noexcept { return bytes.empty(); }
    char* GetData() noexcept { return bytes.data(); }
    const char* GetData() const noexcept { return bytes.data(); }
    char& operator[](std::size_t i) { return bytes[i]; }
    char operator[](std::size_t i) const { return bytes[i]; }
    std::string_view View() const noexcept { return {bytes.data(), bytes.size()}; }
    friend bool operator==(const CharArray_t&, const CharArray_t&) = default;

private:
    std::vector<char> bytes;
};

/// A terminated UTF-16 buffer.
class LUMPAL_API UTF16CharArray_t {
public:
    explicit UTF16CharArray_t(const char* ascii);
    explicit UTF16CharArray_t(const char16_t* text);
    operator const char16_t*() const noexcept { return text; }
    std::size_t GetLength() const noexcept { return text.GetLength(); }

private:
    LumPalStr::String_t text;
};

}  // namespace LumPalArray
