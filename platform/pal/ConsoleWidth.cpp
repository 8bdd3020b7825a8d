// LumPalConsole.h: how wide a character is.
#include <unicode/uchar.h>

#include "LumPalConsole.h"

namespace LumPalConsole {

namespace {

constexpr char32_t kFirstMark = 0x300;

bool IsFormatUnseen(UChar32 point) {
    return u_charType(point) == U_FORMAT_CHAR && u_hasBinaryProperty(point, UCHAR_DEFAULT_IGNORABLE_CODE_POINT);
}

/// Vowels and final consonants that join the consonant before them.
bool IsJoinedJamo(UChar32 point) {
    const int type = u_getIntPropertyValue(point, UCHAR_HANGUL_SYLLABLE_TYPE);
    return type == U_HST_VOWEL_JAMO || type == U_HST_TRAILING_JAMO;
}

bool TakesNone(UChar32 point) {
    return (U_GET_GC_MASK(point) & (U_GC_MN_MASK | U_GC_ME_MASK)) != 0 || IsFormatUnseen(point) || IsJoinedJamo(point);
}

bool IsWide(UChar32 point) {
    const int width = u_getIntPropertyValue(point, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH;
}

}  // namespace

int ColumnsOf(char32_t point) noexcept {
    if (point < kFirstMark) return 1;  // nearly all
    const auto known = static_cast<UChar32>(point);
    if (TakesNone(known)) return 0;
    return IsWide(known) ? 2 : 1;
}

}  // namespace LumPalConsole
