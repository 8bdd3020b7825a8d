#include "StringList.h"

#include <algorithm>
#include <string_view>

namespace LumConf {

using LumPalStr::String_t;

namespace {

bool IsWhiteSpace(char16_t unit) {
    if (unit > u' ' && unit < 0x7F) return false;
    return String_t(unit).Trim().IsEmpty();
}

}  // namespace

std::vector<String_t> GetVectorFromString(const String_t& text) {
    std::vector<String_t> words;
    String_t trimmed = text;
    trimmed.Trim();
    std::u16string_view rest = trimmed.View();
    while (!rest.empty()) {
        std::size_t blank = std::min(rest.find(u' '), rest.size());
        words.emplace_back(rest.data(), static_cast<std::uint32_t>(blank));
        rest.remove_prefix(blank);
        while (!rest.empty() && IsWhiteSpace(rest.front())) rest.remove_prefix(1);
    }
    return words;
}

String_t JoinWithBlanks(const std::vector<String_t>& words) {
    String_t joined = "";
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) joined += " ";
        joined += words[i];
    }
    return joined;
}

}  // namespace LumConf
