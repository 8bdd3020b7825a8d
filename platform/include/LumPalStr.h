/// @file
/// UTF-16 text: the one string type of the system.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>

#include "LumPalExport.h"

namespace LumPalStr {

/// "Nothing found", and "the rest of the string" where a length is asked for.
inline constexpr std::uint32_t NotFound = 0xFFFFFFFFu;

/// Multi-byte encodings. The first one is the encoding of the process's locale; in the "C" locale,
/// which names none, it is UTF-8, as file names are.
enum class Encoding_e { Local = 0, Ascii, Latin1, Utf8 };

/// One UTF-16 unit.
class UTF16CodePoint_t {
public:
    constexpr UTF16CodePoint_t(char16_t unit = 0) noexcept : unit(unit) {}
    constexpr UTF16CodePoint_t(char ascii) noexcept : unit(static_cast<unsigned char>(ascii)) {}
    constexpr operator char16_t() const noexcept { return unit; }
    friend constexpr bool operator==(UTF16CodePoint_t a, UTF16CodePoint_t b) noexcept { return a.unit == b.unit; }
    /// With a character literal or a number; without it the comparison of texts would stand in the way.
    template <class Number>
    requires std::is_integral_v<Number>
    friend constexpr bool operator==(UTF16CodePoint_t a, Number b) noexcept { return a.unit == b; }

private:
    char16_t unit;
};

/// A text of UTF-16 units with a null state that differs from the empty text.
///
/// A value: copies are independent, though they share their buffer until one of them changes
/// (the count is atomic, so copies may live in different threads). Positions and lengths count
/// UTF-16 units. Narrow texts are ASCII literals; text from outside enters by FromUtf8.
/// A null string has length 0 and behaves as an empty one in every operation; cuts and copies of a
/// null string are null, and adding an empty text to it leaves it null.
/// One object may not be changed by one thread while another uses it.
/// A text holds at most 0xFFFFFFFE units: a longer one raises LumPalMsg::IllegalArgumentError_t.
class LUMPAL_API String_t {
public:
    String_t() noexcept;
    String_t(const String_t& other) noexcept;
    String_t(String_t&& other) noexcept;
    String_t(UTF16CodePoint_t unit);
    String_t(char16_t unit);
    /// ASCII text; any other byte becomes U+FFFD, a null pointer gives the null string.
    String_t(const char* ascii);
    /// Terminated UTF-16 text; a null pointer gives the null string.
    String_t(const char16_t* text);
    String_t(const char16_t* text, std::uint32_t length);
    /// UTF-32 (or UTF-16 on Windows) text; a value that is no character becomes U+FFFD, a null pointer
    /// gives the null string.
    String_t(const wchar_t* text);
    ~String_t();
    String_t& operator=(const String_t& other) noexcept;
    String_t& operator=(String_t&& other) noexcept;

    static String_t Null() noexcept;
    /// Every malformed sequence becomes U+FFFD.
    static String_t FromUtf8(std::string_view utf8);
    /// UTF-8; a lone surrogate becomes U+FFFD.
    std::string ToUtf8() const;

    bool IsNull() const noexcept;
    bool IsNotNull() const noexcept;
    bool IsEmpty() const noexcept;
    bool IsNotEmpty() const noexcept;
    std::uint32_t GetLength() const noexcept;
    /// @throws LumPalMsg::IllegalArgumentError_t when the position is not below the length.
    UTF16CodePoint_t GetAt(std::uint32_t position) const;
    void SetAt(std::uint32_t position, UTF16CodePoint_t unit);
    /// The last unit; 0 for an empty text.
    UTF16CodePoint_t LastChar() const noexcept;

    /// The first n units; n beyond the length, 0xFFFFFFFF included, is the whole text.
    String_t Left(std::uint32_t n) const;
    /// The last n units; n beyond the length, 0xFFFFFFFF included, is the whole text.
    String_t Right(std::uint32_t n) const;
    /// Units from start up to, and not including, end; both are cut to the length.
    String_t Mid(std::uint32_t start, std::uint32_t end = NotFound) const;

    /// First position at or behind start where text occurs inside the next `length` units.
    /// An empty text occurs everywhere up to the end. The work grows with the lengths, whatever the texts.
    /// @param ignoreCase  compare without regard to case, by Unicode's simple case folding
    /// @return the position, or NotFound
    std::uint32_t Find(const String_t& text, std::uint32_t start = 0, std::uint32_t length = NotFound,
                       bool ignoreCase = false) const;
    /// Last such position.
    std::uint32_t ReverseFind(const String_t& text, std::uint32_t start = 0, std::uint32_t length = NotFound,
                              bool ignoreCase = false) const;
    /// First position of any unit of `units`.
    std::uint32_t FindOneOf(const String_t& units, std::uint32_t start = 0, std::uint32_t length = NotFound,
                            bool ignoreCase = false) const;

    /// Replaces n units at start by text (n is cut to the length).
    /// @throws LumPalMsg::IllegalArgumentError_t when start lies behind the end.
    String_t& Replace(std::uint32_t start, std::uint32_t n, const String_t& text);
    String_t& Append(const String_t& text);
    String_t& Append(const char16_t* text, std::uint32_t length);
    String_t& operator+=(const String_t& text);
    String_t& operator+=(const char* ascii);
    String_t& operator+=(const char16_t* text);
    String_t& operator+=(UTF16CodePoint_t unit);
    String_t& operator+=(char16_t unit) { return *this += UTF16CodePoint_t(unit); }
    String_t& operator+=(char ascii) { return *this += UTF16CodePoint_t(ascii); }
    /// Takes memory for a text of so many units ahead; the text stays, but a null string becomes empty.
    void Reserve(std::uint32_t units);
    /// Makes the text empty (not null).
    void Clear();
    /// Takes white space (blank, tab, CR, LF, VT, FF and Unicode White_Space) off both ends.
    String_t& Trim();
    /// Lower-case copy by Unicode's locale-independent full case mapping.
    String_t ToLower() const;
    /// Decimal conversion: leading white space, a sign, digits; stops at the first other unit.
    /// No digits give 0; a value out of range gives the nearest bound.
    std::int32_t ToInt() const noexcept;
    std::uint32_t ToUInt() const noexcept;

    /// Terminated text, valid as long as this object is neither changed nor destroyed; never null.
    operator const char16_t*() const noexcept;
    const char16_t* GetBuffer() const noexcept;
    std::u16string_view View() const noexcept;

    struct Rep;

private:
    explicit String_t(Rep* owned) noexcept;
    /// Makes the text `extra` units longer; returns where they are to be written.
    char16_t* Extend(std::uint32_t extra);

    Rep* rep;
};

/// Order and equality by UTF-16 unit from the left; null equals empty.
LUMPAL_API bool operator==(const String_t& a, const String_t& b) noexcept;
LUMPAL_API bool operator==(const String_t& a, const char* b) noexcept;
LUMPAL_API bool operator==(const String_t& a, const char16_t* b) noexcept;
inline bool operator==(const char* a, const String_t& b) noexcept {
    return b == a;
}
inline bool operator==(const char16_t* a, const String_t& b) noexcept {
    return b == a;
}
inline bool operator!=(const String_t& a, const String_t& b) noexcept {
    return !(a == b);
}
inline bool operator!=(const String_t& a, const char* b) noexcept {
    return !(a == b);
}
inline bool operator!=(const String_t& a, const char16_t* b) noexcept {
    return !(a == b);
}
inline bool operator!=(const char* a, const String_t& b) noexcept {
    return !(b == a);
}
inline bool operator!=(const char16_t* a, const String_t& b) noexcept {
    return !(b == a);
}
LUMPAL_API bool operator<(const String_t& a, const String_t& b) noexcept;
LUMPAL_API bool operator<(const String_t& a, const char16_t* b) noexcept;
LUMPAL_API bool operator<(const char16_t* a, const String_t& b) noexcept;
/// What pairs, tuples and containers of texts compare by; without it they would take the addresses of the buffers.
inline std::strong_ordering operator<=>(const String_t& a, const String_t& b) noexcept {
    if (a < b) return std::strong_ordering::less;
    return b < a ? std::strong_ordering::greater : std::strong_ordering::equal;
}
inline bool operator>(const String_t& a, const String_t& b) noexcept {
    return b < a;
}
inline bool operator<=(const String_t& a, const String_t& b) noexcept {
    return !(b < a);
}
inline bool operator>=(const String_t& a, const String_t& b) noexcept {
    return !(a < b);
}
inline bool operator>(const String_t& a, const char16_t* b) noexcept {
    return b < a;
}
inline bool operator<=(const String_t& a, const char16_t* b) noexcept {
    return !(b < a);
}
inline bool operator>=(const String_t& a, const char16_t* b) noexcept {
    return !(a < b);
}
inline bool operator>(const char16_t* a, const String_t& b) noexcept {
    return b < a;
}
inline bool operator<=(const char16_t* a, const String_t& b) noexcept {
    return !(b < a);
}
inline bool operator>=(const char16_t* a, const String_t& b) noexcept {
    return !(a < b);
}

LUMPAL_API String_t operator+(const String_t& a, const String_t& b);
LUMPAL_API String_t operator+(const String_t& a, const char* b);
LUMPAL_API String_t operator+(const String_t& a, const char16_t* b);
LUMPAL_API String_t operator+(const char* a, const String_t& b);
LUMPAL_API String_t operator+(const char16_t* a, const String_t& b);

/// Three-way comparison by UTF-16 unit: below 0, 0 or above 0. Null pointers count as empty texts.
/// @param ignoreCase  compares the units after Unicode's simple case folding, the same in every locale
LUMPAL_API int Compare(const char16_t* a, const char16_t* b, bool ignoreCase = false);
LUMPAL_API int Compare(const char16_t* a, std::uint32_t lengthA, const char16_t* b, std::uint32_t lengthB,
                       bool ignoreCase = false);

/// Decimal text.
LUMPAL_API String_t NumToStr(int value);
LUMPAL_API String_t NumToStr(unsigned value);
LUMPAL_API String_t NumToStr(long value);
LUMPAL_API String_t NumToStr(unsigned long value);
LUMPAL_API String_t NumToStr(long long value);
LUMPAL_API String_t NumToStr(unsigned long long value);

/// UTF-8, for gtest and debugging.
LUMPAL_API std::ostream& operator<<(std::ostream& out, const String_t& text);

/// A multi-byte copy of a text. What the encoding cannot carry becomes "?"; a malformed sequence of the
/// source becomes U+FFFD. A null text gives an empty one.
class LUMPAL_API MBS_t {
public:
    explicit MBS_t(const String_t& text, Encoding_e encoding = Encoding_e::Local);
    MBS_t(const char* text, Encoding_e from, Encoding_e to);
    operator const char*() const noexcept { return bytes.c_str(); }
    std::size_t GetLength() const noexcept { return bytes.size(); }

private:
    std::string bytes;
};

}  // namespace LumPalStr
