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
    for (const std::u16string_view word : GetViewsFromString(text)) {
        words.emplace_back(word.data(), static_cast<std::uint32_t>(word.size()));
    }
    return words;
}

std::vector<std::u16string_view> GetViewsFromString(const String_t& text) {
    std::vector<std::u16string_view> words;
    std::u16string_view rest = text.View();
    while (!rest.empty() && IsWhiteSpace(rest.front())) rest.remove_prefix(1);
    while (!rest.empty() && IsWhiteSpace(rest.back())) rest.remove_suffix(1);
    while (!rest.empty()) {
        const std::size_t blank = std::min(rest.find(u' '), rest.size());
        words.push_back(rest.substr(0, blank));
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
