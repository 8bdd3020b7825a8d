// String_t of LumPalStr.h: making, copying, parts.
#include <cstring>
#include <string>
#include <utility>

#include "LumPalStr.h"
#include "StringAscii.h"
#include "StringRep.h"

namespace LumPalStr {
namespace {

/// What stands for a byte or code point that is no character.
constexpr char16_t Replacement = 0xFFFD;

String_t::Rep* NewFromAscii(const char* ascii) {
    const std::size_t length = std::strlen(ascii);
    auto* rep = String_t::Rep::New(length);
    if (length == 0) return rep;
    Ascii::Widen(rep->Units(), ascii, length);
    for (std::size_t i = Ascii::Prefix(ascii, length); i < length; ++i) {
        if (rep->Units()[i] >= 0x80) rep->Units()[i] = Replacement;
    }
    return rep;
}

String_t::Rep* NewFromUnits(const char16_t* text, std::size_t length) {
    auto* rep = String_t::Rep::New(length);
    if (length != 0) std::memcpy(rep->Units(), text, length * sizeof(char16_t));
    return rep;
}

bool IsCodePoint(char32_t point) {
    return point < 0xD800 || (point > 0xDFFF && point < 0x110000);
}

std::size_t EncodedLength(const wchar_t* text, std::size_t length) {
    std::size_t units = length;
    for (std::size_t i = 0; i < length; ++i) {
        const auto point = static_cast<char32_t>(text[i]);
        if (point > 0xFFFF && IsCodePoint(point)) ++units;
    }
    return units;
}

void Encode(char16_t* target, const wchar_t* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        const auto point = static_cast<char32_t>(text[i]);
        if (!IsCodePoint(point)) {
            *target++ = Replacement;
        } else if (point > 0xFFFF) {
            *target++ = static_cast<char16_t>(0xD7C0 + (point >> 10));
            *target++ = static_cast<char16_t>(0xDC00 + (point & 0x3FF));
        } else {
            *target++ = static_cast<char16_t>(point);
        }
    }
}

String_t::Rep* NewFromWide(const wchar_t* text) {
    const std::size_t length = std::char_traits<wchar_t>::length(text);
    if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
        return NewFromUnits(reinterpret_cast<const char16_t*>(text), length);
    } else {
        auto* rep = String_t::Rep::New(EncodedLength(text, length));
        if (length != 0) Encode(rep->Units(), text, length);
        return rep;
    }
}

}  // namespace

String_t::String_t() noexcept : rep(Rep::Empty()) {}
String_t::String_t(const String_t& other) noexcept : rep(other.rep) {
    rep->AddRef();
}
String_t::String_t(String_t&& other) noexcept : rep(std::exchange(other.rep, Rep::Empty())) {}
String_t::String_t(UTF16CodePoint_t unit) : String_t(static_cast<char16_t>(unit)) {}
String_t::String_t(char16_t unit) : rep(NewFromUnits(&unit, 1)) {}
String_t::String_t(const char* ascii) : rep(ascii ? NewFromAscii(ascii) : Rep::Null()) {}

String_t::String_t(const char16_t* text)
    : rep(text ? NewFromUnits(text, std::char_traits<char16_t>::length(text)) : Rep::Null()) {}

String_t::String_t(const char16_t* text, std::uint32_t length) : rep(text ? NewFromUnits(text, length) : Rep::Null()) {}
String_t::String_t(const wchar_t* text) : rep(text ? NewFromWide(text) : Rep::Null()) {}
String_t::String_t(Rep* owned) noexcept : rep(owned) {}
String_t::~String_t() {
    rep->Release();
}

String_t& String_t::operator=(const String_t& other) noexcept {
    other.rep->AddRef();
    std::exchange(rep, other.rep)->Release();
    return *this;
}

String_t& String_t::operator=(String_t&& other) noexcept {
    std::swap(rep, other.rep);
    return *this;
}

String_t String_t::Null() noexcept {
    return String_t(Rep::Null());
}

bool String_t::IsNull() const noexcept {
    return rep == Rep::Null();
}
bool String_t::IsNotNull() const noexcept {
    return !IsNull();
}
bool String_t::IsEmpty() const noexcept {
    return rep->length == 0;
}
bool String_t::IsNotEmpty() const noexcept {
    return rep->length != 0;
}
std::uint32_t String_t::GetLength() const noexcept {
    return rep->length;
}
const char16_t* String_t::GetBuffer() const noexcept {
    return rep->Units();
}
String_t::operator const char16_t*() const noexcept {
    return rep->Units();
}
std::u16string_view String_t::View() const noexcept {
    return {rep->Units(), rep->length};
}

UTF16CodePoint_t String_t::GetAt(std::uint32_t position) const {
    if (position >= rep->length) ThrowBadPosition(position, rep->length);
    return rep->Units()[position];
}

UTF16CodePoint_t String_t::LastChar() const noexcept {
    return IsEmpty() ? UTF16CodePoint_t() : UTF16CodePoint_t(rep->Units()[rep->length - 1]);
}

String_t String_t::Left(std::uint32_t n) const {
    return Mid(0, n);
}

String_t String_t::Right(std::uint32_t n) const {
    return n >= rep->length ? *this : Mid(rep->length - n);
}

String_t String_t::Mid(std::uint32_t start, std::uint32_t end) const {
    if (start == 0 && end >= rep->length) return *this;
    const std::uint32_t last = end < rep->length ? end : rep->length;
    if (start >= last) return IsNull() ? *this : String_t();
    return String_t(rep->Units() + start, last - start);
}

}  // namespace LumPalStr
