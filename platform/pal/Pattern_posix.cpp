// Patterns by the regular expressions of the C library.
#include <regex.h>

#include <memory>
#include <string>

#include "LumPalPattern.h"

namespace LumPalPattern {

namespace {

constexpr std::size_t kMostBytes = 1024;

bool RefersBack(const std::string& pattern) {
    for (std::size_t at = pattern.find('\\'); at < pattern.size(); at = pattern.find('\\', at + 2)) {
        if (at + 1 < pattern.size() && pattern[at + 1] >= '1' && pattern[at + 1] <= '9') return true;
    }
    return false;
}

bool IsCheap(const std::string& pattern) {
    return pattern.size() <= kMostBytes && pattern.find('{') == pattern.npos && !RefersBack(pattern);
}

}  // namespace

std::optional<bool> IsFound(const LumPalStr::String_t& pattern, const LumPalStr::String_t& text) {
    const std::string bytes = pattern.ToUtf8();
    regex_t compiled;
    if (!IsCheap(bytes) || regcomp(&compiled, bytes.c_str(), REG_EXTENDED | REG_NOSUB) != 0) return {};
    const std::unique_ptr<regex_t, decltype(&regfree)> owner(&compiled, &regfree);
    return regexec(&compiled, text.ToUtf8().c_str(), 0, nullptr, 0) == 0;
}

}  // namespace LumPalPattern
