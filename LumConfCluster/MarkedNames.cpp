#include "MarkedNames.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

bool IsPlain(const String_t& name) {
    return name.FindOneOf(MarkedNames::kMarker) == LumPalStr::NotFound;
}

std::u16string Reversed(const String_t& name) {
    const std::u16string_view units = name.View();
    return {units.rbegin(), units.rend()};
}

}  // namespace

void MarkedNames::Add(const String_t& name) {
    text += name + kMarker;
    isEachPlain = isEachPlain && IsPlain(name);
    if (isEachPlain) reversed.insert(Reversed(name));
}

bool MarkedNames::Holds(const String_t& name) const {
    if (!isEachPlain || !IsPlain(name) || name.IsEmpty()) return Occurs(name + kMarker);
    const std::u16string end = Reversed(name);
    const auto found = reversed.lower_bound(end);
    return found != reversed.end() && found->starts_with(end);
}

String_t MarkedNames::Listed() const {
    const String_t marker = kMarker;
    String_t listed;
    std::uint32_t start = 0;
    for (std::uint32_t found; (found = text.Find(marker, start)) != LumPalStr::NotFound;) {
        const std::uint32_t behind = found + marker.GetLength();
        const bool isAtAnEnd = found == 0 || behind == text.GetLength();
        listed += text.Mid(start, found) + (isAtAnEnd ? " " : ", ");
        start = behind;
    }
    return listed + text.Mid(start);
}

}  // namespace LumConfCluster
