#include "ToolFields.h"

#include <algorithm>

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

/// What String_t::Trim takes off; it is asked only of unusual characters.
bool IsWhite(char16_t unit) {
    return unit == u' ' || unit == u'\t' || ((unit < u' ' || unit > u'~') && String_t(unit).Trim().IsEmpty());
}

}  // namespace

String_t ToolFields::Next() {
    const std::uint32_t end = std::min(text.FindOneOf(separators, position), text.GetLength());
    const String_t field = text.Mid(position, end);
    const std::u16string_view units = text.View();
    for (position = end + 1; position < units.size() && IsWhite(units[position]);) ++position;
    return field;
}

ToolFields& ToolFields::Skip(int count) {
    for (; count > 0; --count) Next();
    return *this;
}

}  // namespace LumConfCluster
