#include "StringFold.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <cstring>
#include <limits>

#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "StringAscii.h"
#include "StringRep.h"

namespace LumPalStr {
namespace {

// The empty name is the root locale: a Turkish process must not fold "I" in another way than its peers do.
constexpr const char* RootLocale = "";

String_t::Rep* NewLowerAscii(std::u16string_view text) {
    auto* rep = String_t::Rep::New(text.size());
    Ascii::Lower(rep->Units(), text.data(), text.size());
    return rep;
}

std::int32_t IcuLength(std::size_t length) {
    CheckLength(length > std::numeric_limits<std::int32_t>::max() ? std::uint64_t{MaxLength} + 1 : length);
    return static_cast<std::int32_t>(length);
}

std::int32_t LowerInto(char16_t* target, std::int32_t capacity, std::u16string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    return u_strToLower(target, capacity, text.data(), IcuLength(text.size()), RootLocale, &status);
}

String_t::Rep* NewLower(std::u16string_view text) {
    auto* rep = String_t::Rep::New(text.size());
    const auto length = static_cast<std::uint32_t>(LowerInto(rep->Units(), IcuLength(text.size()), text));
    if (length > text.size()) {
        rep->Release();
        rep = String_t::Rep::New(length);
        LowerInto(rep->Units(), IcuLength(length), text);
    }
    rep->SetLength(length);
    return rep;
}

}  // namespace

char16_t FoldCursor::NextBeyondAscii(char16_t unit) noexcept {
    if (trail != 0) {
        unit = trail;
        trail = 0;
        return unit;
    }
    if (!U16_IS_LEAD(unit) || AtEnd() || !U16_IS_TRAIL(text[position])) {
        return static_cast<char16_t>(u_foldCase(unit, U_FOLD_CASE_DEFAULT));
    }
    const UChar32 folded = u_foldCase(U16_GET_SUPPLEMENTARY(unit, text[position]), U_FOLD_CASE_DEFAULT);
    trail = U16_TRAIL(folded);
    return U16_LEAD(folded);
}

String_t String_t::ToLower() const {
    const std::u16string_view text = View();
    if (Ascii::Prefix(text.data(), text.size()) < text.size()) return String_t(NewLower(text));
    return Ascii::HasUpper(text.data(), text.size()) ? String_t(NewLowerAscii(text)) : *this;
}

}  // namespace LumPalStr
