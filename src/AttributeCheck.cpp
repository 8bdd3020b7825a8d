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

}  // namespace LumConf
