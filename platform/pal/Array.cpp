// CharArray_t of LumPalArray.h.
#include "LumPalArray.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

namespace LumPalArray {
namespace {

bool IsLead(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}

/// In pieces, so that a long text is not held twice; no pair of surrogates is cut.
std::vector<char> Utf8Bytes(const LumPalStr::String_t& text) {
    constexpr std::size_t kPiece = 65536;
    std::vector<char> bytes;
    bytes.reserve(text.GetLength());
    for (std::u16string_view rest = text.View(); !rest.empty();) {
        std::size_t count = std::min(kPiece, rest.size());
        if (count < rest.size() && IsLead(rest[count - 1])) ++count;
        const std::string utf8 = LumPalStr::String_t(rest.data(), static_cast<std::uint32_t>(count)).ToUtf8();
        bytes.insert(bytes.end(), utf8.begin(), utf8.end());
        rest.remove_prefix(count);
    }
    return bytes;
}

}  // namespace

CharArray_t::CharArray_t(std::size_t size, char fill) : bytes(size, fill) {}
CharArray_t::CharArray_t(const char* text) : CharArray_t(text, text ? std::strlen(text) : 0) {}
CharArray_t::CharArray_t(const char16_t* text) : CharArray_t(LumPalStr::String_t(text)) {}
CharArray_t::CharArray_t(const LumPalStr::String_t& text) : bytes(Utf8Bytes(text)) {}

CharArray_t::CharArray_t(const char* source, std::size_t length) {
    if (source) bytes.assign(source, source + length);
}

UTF16CharArray_t::UTF16CharArray_t(const char* ascii) : text(ascii) {}
UTF16CharArray_t::UTF16CharArray_t(const char16_t* text) : text(text) {}

}  // namespace LumPalArray
