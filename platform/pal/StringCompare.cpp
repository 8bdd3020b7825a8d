// LumPalStr.h: comparing.
#include <cstdint>
#include <cstring>
#include <string>

#include "LumPalStr.h"
#include "StringFold.h"
#include "StringRep.h"

namespace LumPalStr {
namespace {

int CompareLengths(std::size_t a, std::size_t b) noexcept {
    return a < b ? -1 : (a > b ? 1 : 0);
}

/// Names that are compared often begin alike. @return a number of units that are equal, perhaps not all
std::size_t EqualBlocks(const char16_t* a, const char16_t* b, std::size_t count) noexcept {
    constexpr std::size_t blockUnits = sizeof(std::uint64_t) / sizeof(char16_t);
    std::size_t i = 0;
    for (; i + blockUnits <= count; i += blockUnits) {
        std::uint64_t left, right;
        std::memcpy(&left, a + i, sizeof left);
        std::memcpy(&right, b + i, sizeof right);
        if (left != right) break;
    }
    return i;
}

int CompareUnits(std::u16string_view a, std::u16string_view b) noexcept {
    const std::size_t common = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = EqualBlocks(a.data(), b.data(), common); i < common; ++i) {
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    }
    return CompareLengths(a.size(), b.size());
}

int CompareFolded(std::u16string_view a, std::u16string_view b) noexcept {
    FoldCursor left(a);
    FoldCursor right(b);
    while (!left.AtEnd() && !right.AtEnd()) {
        const char16_t unitLeft = left.Next();
        const char16_t unitRight = right.Next();
        if (unitLeft != unitRight) return unitLeft < unitRight ? -1 : 1;
    }
    return CompareLengths(a.size(), b.size());
}

int CompareViews(std::u16string_view a, std::u16string_view b, bool ignoreCase) noexcept {
    return ignoreCase ? CompareFolded(a, b) : CompareUnits(a, b);
}

std::u16string_view ViewOf(const char16_t* text) noexcept {
    return text ? std::u16string_view(text) : std::u16string_view();
}

bool EqualUnits(std::u16string_view a, std::u16string_view b) noexcept {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0);
}

bool EqualAscii(std::u16string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto byte = static_cast<unsigned char>(b[i]);
        if (a[i] != (byte < 0x80 ? char16_t{byte} : char16_t{0xFFFD})) return false;
    }
    return true;
}

}  // namespace

bool operator==(const String_t& a, const String_t& b) noexcept {
    return EqualUnits(String_t::Rep::ViewOf(a), String_t::Rep::ViewOf(b));
}

bool operator==(const String_t& a, const char* b) noexcept {
    return EqualAscii(a.View(), b ? std::string_view(b) : std::string_view());
}

bool operator==(const String_t& a, const char16_t* b) noexcept {
    return EqualUnits(a.View(), ViewOf(b));
}
bool operator<(const String_t& a, const String_t& b) noexcept {
    return CompareUnits(String_t::Rep::ViewOf(a), String_t::Rep::ViewOf(b)) < 0;
}

bool operator<(const String_t& a, const char16_t* b) noexcept {
    return CompareUnits(a.View(), ViewOf(b)) < 0;
}
bool operator<(const char16_t* a, const String_t& b) noexcept {
    return CompareUnits(ViewOf(a), b.View()) < 0;
}

int Compare(const char16_t* a, const char16_t* b, bool ignoreCase) {
    return CompareViews(ViewOf(a), ViewOf(b), ignoreCase);
}

int Compare(const char16_t* a, std::uint32_t lengthA, const char16_t* b, std::uint32_t lengthB, bool ignoreCase) {
    return CompareViews({a, a ? lengthA : 0}, {b, b ? lengthB : 0}, ignoreCase);
}

}  // namespace LumPalStr
