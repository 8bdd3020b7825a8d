// LumPalStr.h: numbers as texts.
#include <charconv>
#include <cstdint>
#include <limits>

#include "LumPalStr.h"

namespace LumPalStr {
namespace {

bool IsBlank(char16_t unit) {
    return unit == u' ' || (unit >= 0x09 && unit <= 0x0D);
}

/// Reads blanks, a sign and digits; stops counting where the value leaves 32 bits, so that it cannot overflow.
std::int64_t Parse(std::u16string_view text) {
    constexpr std::int64_t Enough = std::int64_t{1} << 40;
    std::size_t i = 0;
    while (i < text.size() && IsBlank(text[i])) ++i;
    const bool negative = i < text.size() && text[i] == u'-';
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) ++i;
    std::int64_t value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9' && value < Enough; ++i) {
        value = value * 10 + (text[i] - u'0');
    }
    return negative ? -value : value;
}

template <class Number>
Number Bounded(std::int64_t value) {
    if (value < std::int64_t{std::numeric_limits<Number>::min()}) return std::numeric_limits<Number>::min();
    if (value > std::int64_t{std::numeric_limits<Number>::max()}) return std::numeric_limits<Number>::max();
    return static_cast<Number>(value);
}

template <class Number>
String_t Decimal(Number value) {
    char digits[24];
    *std::to_chars(digits, digits + sizeof digits - 1, value).ptr = 0;
    return String_t(static_cast<const char*>(digits));
}

}  // namespace

std::int32_t String_t::ToInt() const noexcept {
    return Bounded<std::int32_t>(Parse(View()));
}
std::uint32_t String_t::ToUInt() const noexcept {
    return Bounded<std::uint32_t>(Parse(View()));
}

String_t NumToStr(int value) {
    return Decimal(value);
}
String_t NumToStr(unsigned value) {
    return Decimal(value);
}
String_t NumToStr(long value) {
    return Decimal(value);
}
String_t NumToStr(unsigned long value) {
    return Decimal(value);
}
String_t NumToStr(long long value) {
    return Decimal(value);
}
String_t NumToStr(unsigned long long value) {
    return Decimal(value);
}

}  // namespace LumPalStr
