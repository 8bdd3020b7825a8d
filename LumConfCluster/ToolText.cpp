#include "ToolText.h"

#include <algorithm>

namespace LumConfCluster {

using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

constexpr const char* kBetweenColumns = " \t";

}  // namespace

String_t FirstColumn(const String_t& line) {
    return line.Left(line.FindOneOf(kBetweenColumns));
}

String_t Field(const String_t& line, const char* separator, std::size_t number) {
    const String_t between(separator);
    std::uint32_t start = 0;
    for (; number > 0; --number) {
        const std::uint32_t end = line.Find(between, start);
        if (end == NotFound) return "";
        start = end + between.GetLength();
    }
    return line.Mid(start, line.Find(between, start));
}

String_t Between(const String_t& line, const char* word, const char* end) {
    const std::uint32_t found = line.Find(word);
    if (found == NotFound) return "";
    const std::uint32_t start = found + String_t(word).GetLength();
    return line.Mid(start, *end ? line.Find(end, start) : NotFound).Trim();
}

String_t LineWith(const ToolLines& lines, const char* word) {
    const auto found =
        std::find_if(lines.begin(), lines.end(), [&](const String_t& line) { return Holds(line, word); });
    return found == lines.end() ? String_t("") : *found;
}

bool Holds(const String_t& line, const char* word) {
    return line.Find(word) != NotFound;
}

String_t BehindColon(const String_t& line) {
    const std::uint32_t colon = line.Find(":");
    return colon == NotFound ? line : line.Mid(colon + 1).Trim();
}

std::vector<String_t> NamesOfPairs(const String_t& line) {
    std::vector<String_t> names;
    String_t rest = line;
    bool isName = true;
    for (std::uint32_t end = 0; (end = rest.FindOneOf(kBetweenColumns)) != NotFound; isName = !isName) {
        if (isName) names.push_back(rest.Left(end).Trim());
        rest = rest.Mid(end).Trim();
    }
    return names;  // kept: a piece with nothing behind it is not taken, whether it is a value or a name
}

std::uint16_t NumberIn(const String_t& line, std::uint16_t other) {
    const String_t text = String_t(line).Trim();
    const bool isNumber = text.IsNotEmpty() && text.GetAt(0) >= u'0' && text.GetAt(0) <= u'9';
    const std::uint32_t number = isNumber ? text.ToUInt() : other;
    return number <= 0xFFFF ? static_cast<std::uint16_t>(number) : other;
}

}  // namespace LumConfCluster
