// String_t of LumPalStr.h: from and to UTF-8.
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <ostream>

#include "LumPalStr.h"
#include "StringAscii.h"
#include "StringRep.h"

namespace LumPalStr {
namespace {

constexpr UChar32 Replacement = 0xFFFD;

/// Units that the rest of the text takes behind its ASCII beginning.
std::size_t CountUnits(std::string_view utf8, std::size_t start) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
    std::size_t units = 0;
    for (std::size_t i = start; i < utf8.size();) {
        UChar32 point = 0;
        U8_NEXT_OR_FFFD(bytes, i, utf8.size(), point);
        units += U16_LENGTH(point);
    }
    return units;
}

void Decode(std::string_view utf8, std::size_t start, char16_t* target) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
    for (std::size_t i = start; i < utf8.size();) {
        UChar32 point = 0;
        U8_NEXT_OR_FFFD(bytes, i, utf8.size(), point);
        if (point > 0xFFFF) {
            *target++ = U16_LEAD(point);
            *target++ = U16_TRAIL(point);
        } else {
            *target++ = static_cast<char16_t>(point);
        }
    }
}

UChar32 NextPoint(std::u16string_view text, std::size_t& i) {
    UChar32 point = 0;
    U16_NEXT(text.data(), i, text.size(), point);
    return U_IS_SURROGATE(point) ? Replacement : point;
}

std::size_t CountBytes(std::u16string_view text, std::size_t start) {
    std::size_t bytes = 0;
    for (std::size_t i = start; i < text.size();) {
        const UChar32 point = NextPoint(text, i);  // a variable: the macro looks at its argument several times
        bytes += U8_LENGTH(point);
    }
    return bytes;
}

void Encode(std::u16string_view text, std::size_t start, char* target) {
    auto* bytes = reinterpret_cast<std::uint8_t*>(target);
    std::size_t at = 0;
    for (std::size_t i = start; i < text.size();) {
        const UChar32 point = NextPoint(text, i);
        U8_APPEND_UNSAFE(bytes, at, point);
    }
}

}  // namespace

String_t String_t::FromUtf8(std::string_view utf8) {
    const std::size_t ascii = Ascii::Prefix(utf8.data(), utf8.size());
    Rep* rep = Rep::New(std::uint64_t{ascii} + CountUnits(utf8, ascii));
    Ascii::Widen(rep->Units(), utf8.data(), ascii);
    Decode(utf8, ascii, rep->Units() + ascii);
    return String_t(rep);
}

std::string String_t::ToUtf8() const {
    const std::u16string_view text = View();
    const std::size_t ascii = Ascii::Prefix(text.data(), text.size());
    std::string utf8(ascii + CountBytes(text, ascii), '\0');
    Ascii::Narrow(utf8.data(), text.data(), ascii);
    Encode(text, ascii, utf8.data() + ascii);
    return utf8;
}

std::ostream& operator<<(std::ostream& out, const String_t& text) {
    return out << text.ToUtf8();
}

}  // namespace LumPalStr
