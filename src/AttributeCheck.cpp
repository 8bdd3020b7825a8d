#include "AttributeCheck.h"

#include "Messages.h"

namespace LumConf {

void CheckAttribute(const LumPalStr::String_t& text) {
    LumPalStr::String_t trimmed = text;
    trimmed.Trim();
    if (trimmed.IsEmpty()) Raise<LumPalMsg::IllegalArgumentError_t>(msg::AttributeEmpty);
    if (text.Find("=") != LumPalStr::NotFound) {
        Raise<LumPalMsg::IllegalArgumentError_t>(msg::AttributeWithBadText, text, "=");
    }
}

NameAndValue SplitAttribute(const LumPalStr::String_t& text) {
    const std::uint32_t at = text.Find("=");
    // Kept: a text without "=" is both, as callers have always had it.
    if (at == LumPalStr::NotFound) return {text, text};
    return {text.Left(at), text.Mid(at + 1)};
}

}  // namespace LumConf
