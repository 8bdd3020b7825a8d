#include "AttributeCheck.h"

#include <utility>

#include "Messages.h"
#include "PlainName.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

/// Looks at a piece at a time: a text of megabytes is not copied to be trimmed.
bool IsBlank(const String_t& text) {
    constexpr std::uint32_t kPiece = 4096;
    for (std::uint32_t at = 0; at < text.GetLength(); at += kPiece) {
        if (text.Mid(at, at + kPiece).Trim().IsNotEmpty()) return false;
    }
    return true;
}

}  // namespace

void CheckAttribute(const String_t& text) {
    if (IsBlank(text)) Raise<LumPalMsg::IllegalArgumentError_t>(msg::AttributeEmpty);
    if (text.Find("=") != LumPalStr::NotFound) {
        Raise<LumPalMsg::IllegalArgumentError_t>(msg::AttributeWithBadText, Shown(text), "=");
    }
}

NameAndValue SplitAttribute(String_t text) {
    const std::uint32_t at = text.Find("=");
    // Kept: a text without "=" is both, as callers have always had it.
    if (at == LumPalStr::NotFound) return {text, text};
    const std::uint32_t behind = at + 1;
    // Only the shorter part is copied: a text that nobody else holds is cut where it stands.
    if (at < text.GetLength() / 2) {
        const String_t name = text.Left(at);
        return {name, std::move(text.Replace(0, behind, ""))};
    }
    const String_t value = text.Mid(behind);
    return {std::move(text.Replace(at, LumPalStr::NotFound, "")), value};
}

}  // namespace LumConf
