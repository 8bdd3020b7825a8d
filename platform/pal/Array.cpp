#include "LumPalArray.h"

#include <cstring>

namespace LumPalArray {
namespace {

std::vector<char> Utf8Bytes(const LumPalStr::String_t& text) {
    const std::string utf8 = text.ToUtf8();
    return {utf8.begin(), utf8.end()};
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
