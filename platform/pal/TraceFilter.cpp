#include "TraceFilter.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "LumPalColumns.h"

namespace LumPalTrc {

namespace {

std::string_view Trimmed(std::string_view text) {
    return LumPalStr::Trimmed(text, " \t");
}

bool ReadLevel(std::string_view text, int& level) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
    return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

TraceFilter::TraceFilter(const char* text) {
    std::string_view rest = text ? text : "";
    while (!rest.empty()) {
        const std::size_t comma = rest.find(',');
        Add(Trimmed(rest.substr(0, comma)));
        rest = comma == rest.npos ? std::string_view() : rest.substr(comma + 1);
    }
}

void TraceFilter::Add(std::string_view part) {
    const std::size_t colon = part.find(':');
    const std::string_view component = Trimmed(part.substr(0, colon));
    int level = std::numeric_limits<int>::max();
    if (colon != part.npos && !ReadLevel(Trimmed(part.substr(colon + 1)), level)) return;
    if (!component.empty()) wanted.push_back({std::string(component), level});
}

bool TraceFilter::IsOn(std::string_view component, int level) const noexcept {
    return std::any_of(wanted.begin(), wanted.end(), [&](const Wanted& w) {
        return level <= w.maxLevel && (w.component == "*" || w.component == component);
    });
}

}  // namespace LumPalTrc
