#include "StringList.h"

#include <algorithm>
#include <string_view>

namespace LumConf {

using LumPalStr::String_t;

namespace {

bool IsWhiteSpace(char16_t unit) {
    if (unit < 0x7F) return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
    return String_t(unit).Trim().IsEmpty();
}

void TrimFront(std::u16string_view& text) {
    while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
}

}  // namespace

std::vector<String_t> GetVectorFromString(const String_t& text) {
    std::vector<String_t> words;
    for (WordReader reader(text.View()); reader.Next();) {
        words.emplace_back(reader.Get().data(), static_cast<std::uint32_t>(reader.Get().size()));
    }
    return words;
}

std::vector<std::u16string_view> GetViewsFromString(const String_t& text) {
    std::vector<std::u16string_view> words;
    for (WordReader reader(text.View()); reader.Next();) words.push_back(reader.Get());
    return words;
}

WordReader::WordReader(std::u16string_view text) : rest(text) {
    TrimFront(rest);
    while (!rest.empty() && IsWhiteSpace(rest.back())) rest.remove_suffix(1);
}

bool WordReader::Next() {
    if (rest.empty()) return false;
    word = rest.substr(0, rest.find(u' '));
    rest.remove_prefix(word.size());
    TrimFront(rest);
    return true;
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
