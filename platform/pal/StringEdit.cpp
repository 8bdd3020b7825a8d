// String_t of LumPalStr.h: changing.
#include <unicode/uchar.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "LumPalStr.h"
#include "StringRep.h"
#include "StringSpace.h"

namespace LumPalStr {
namespace {

std::uint32_t GrownCapacity(std::uint32_t capacity, std::uint32_t needed) {
    const std::uint64_t grown = std::uint64_t{capacity} + capacity / 2 + 8;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(std::max<std::uint64_t>(grown, needed), MaxLength));
}

/// Where text lies inside the units, or NotFound when it is a text of its own.
std::uint32_t OffsetInside(std::u16string_view units, const char16_t* text) {
    const std::less<const char16_t*> before;
    const bool inside = !before(text, units.data()) && before(text, units.data() + units.size());
    return inside ? static_cast<std::uint32_t>(text - units.data()) : NotFound;
}

template <class A, class B>
String_t Join(const A& a, const B& b) {
    String_t result(a);
    result += b;
    return result.IsNull() ? String_t() : result;
}

}  // namespace

bool IsSpace(char16_t unit) noexcept {
    if (unit < 0x80) return unit == u' ' || (unit >= 0x09 && unit <= 0x0D);
    return u_isUWhiteSpace(unit);
}

void String_t::Reserve(std::uint32_t units) {
    if (rep->IsUnique()) {
        if (units > rep->capacity) rep = Rep::Resize(rep, units);
        return;
    }
    const std::uint32_t length = rep->length;
    if (units == 0 && length == 0) return;
    Rep* own = Rep::New(std::max(units, length));
    std::memcpy(own->Units(), rep->Units(), length * sizeof(char16_t));
    own->SetLength(length);
    rep->Release();
    rep = own;
}

char16_t* String_t::Extend(std::uint32_t extra) {
    CheckLength(std::uint64_t{rep->length} + extra);
    const std::uint32_t start = rep->length;
    const std::uint32_t needed = start + extra;
    Reserve(needed > rep->capacity && rep->IsUnique() ? GrownCapacity(rep->capacity, needed) : needed);
    rep->SetLength(needed);
    return rep->Units() + start;
}

void String_t::SetAt(std::uint32_t position, UTF16CodePoint_t unit) {
    if (position >= rep->length) ThrowBadPosition(position, rep->length);
    Reserve(rep->length);
    rep->Units()[position] = unit;
}

String_t& String_t::Append(const char16_t* text, std::uint32_t length) {
    if (!text || length == 0) return *this;
    const std::uint32_t offset = OffsetInside(View(), text);
    char16_t* target = Extend(length);
    const char16_t* source = offset == NotFound ? text : rep->Units() + offset;
    std::memcpy(target, source, length * sizeof(char16_t));
    return *this;
}

String_t& String_t::Append(const String_t& text) {
    if (text.IsEmpty()) return *this;
    if (rep->IsStatic()) return *this = text;
    return Append(text.GetBuffer(), text.GetLength());
}

String_t& String_t::Replace(std::uint32_t start, std::uint32_t n, const String_t& text) {
    if (&text == this) return Replace(start, n, String_t(text));
    if (start > rep->length) ThrowBadPosition(start, rep->length);
    const std::uint32_t removed = std::min(n, rep->length - start);
    const std::uint32_t behind = rep->length - start - removed;
    const std::uint32_t added = text.GetLength();
    if (removed == 0 && added == 0) return *this;
    if (added > removed) {
        Extend(added - removed);
    } else {
        Reserve(rep->length);
    }
    char16_t* at = rep->Units() + start;
    std::memmove(at + added, at + removed, behind * sizeof(char16_t));
    std::memcpy(at, text.GetBuffer(), added * sizeof(char16_t));
    rep->SetLength(start + added + behind);
    return *this;
}

String_t& String_t::operator+=(const String_t& text) {
    return Append(text);
}
String_t& String_t::operator+=(const char* ascii) {
    return Append(String_t(ascii));
}

String_t& String_t::operator+=(const char16_t* text) {
    if (!text) return *this;
    const std::size_t length = std::char_traits<char16_t>::length(text);
    CheckLength(length);
    return Append(text, static_cast<std::uint32_t>(length));
}

String_t& String_t::operator+=(UTF16CodePoint_t unit) {
    *Extend(1) = unit;
    return *this;
}

void String_t::Clear() {
    rep->Release();
    rep = Rep::Empty();
}

String_t& String_t::Trim() {
    const char16_t* units = rep->Units();
    std::uint32_t start = 0;
    std::uint32_t end = rep->length;
    while (start < end && IsSpace(units[start])) ++start;
    while (end > start && IsSpace(units[end - 1])) --end;
    if (end - start != rep->length) *this = Mid(start, end);
    return *this;
}

String_t operator+(const String_t& a, const String_t& b) {
    if (a.IsEmpty() && b.IsNotEmpty()) return b;
    if (b.IsEmpty() && a.IsNotEmpty()) return a;
    const std::uint64_t length = std::uint64_t{a.GetLength()} + b.GetLength();
    CheckLength(length);
    String_t result;
    result.Reserve(static_cast<std::uint32_t>(length));
    result.Append(a.GetBuffer(), a.GetLength()).Append(b.GetBuffer(), b.GetLength());
    return result;
}

String_t operator+(const String_t& a, const char* b) {
    return Join(a, b);
}
String_t operator+(const String_t& a, const char16_t* b) {
    return Join(a, b);
}
String_t operator+(const char* a, const String_t& b) {
    return Join(a, b);
}
String_t operator+(const char16_t* a, const String_t& b) {
    return Join(a, b);
}

}  // namespace LumPalStr
