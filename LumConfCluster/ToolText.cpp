#include "ToolText.h"

namespace LumConfCluster {

using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

constexpr const char* kBetweenColumns = " \t";

}  // namespace

String_t FirstColumn(const String_t& line) {
    return line.Left(line.FindOneOf(kBetweenColumns));
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
