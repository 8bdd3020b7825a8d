#include "RhasOutput.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>

#include "ToolFields.h"

namespace LumConfCluster {

using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

constexpr const char* kRelease = "release";
constexpr std::uint32_t kReleaseLength = 8;  // with the blank behind it
constexpr const char* kServices = "Service Name";
constexpr const char* kServicesOfOld = "Resource Group";

// Three tests: the word "Up" and the word "Active" stand in the second column, "Online" anywhere.
bool IsUp(const String_t& row) {
    return WordsOf(row).Skip(1).Next() == "Up";
}
bool IsActive(const String_t& row) {
    return WordsOf(row).Skip(1).Next() == "Active";
}
bool IsOnline(const String_t& row) {
    return Holds(row, "Online");
}

bool EndsOldTable(const String_t& line) {
    return Holds(line, "======");
}
bool EndsTableOf3(const String_t& line) {
    return Holds(line, "Service");
}
bool EndsTable(const String_t& line) {
    return Holds(line, kServices) || Holds(line, kServicesOfOld);
}

/// Where the members stand, and which of them are up.
struct MemberTable {
    const char* heading;
    std::size_t first;  ///< row, counted from the heading
    bool (*isEnd)(const String_t& line);
    bool (*isUp)(const String_t& row);
};

/// By the generations.
constexpr MemberTable kMemberTables[]{{"=======", 4, EndsOldTable, IsUp},
                                      {"------------------", 1, EndsTableOf3, IsActive},
                                      {"Member Name", 1, EndsTable, IsOnline}};

/// Neither empty nor drawn.
bool IsRow(const String_t& line) {
    const auto isDrawn = [](char16_t unit) { return unit == u'-' || unit == u'=' || unit == u' ' || unit == u'\t'; };
    const std::u16string_view units = line.View();
    return !std::all_of(units.begin(), units.end(), isDrawn);
}

/// The rows from so many lines behind the first line with a heading on, up to an end.
template <class IsEnd>
ToolLines RowsBehind(const ToolLines& lines, const char* heading, std::size_t first, IsEnd&& isEnd) {
    ToolLines rows;
    const auto found =
        std::find_if(lines.begin(), lines.end(), [&](const String_t& line) { return Holds(line, heading); });
    const auto left = static_cast<std::size_t>(lines.end() - found);
    const auto begin = found + static_cast<std::ptrdiff_t>(std::min(first, left));
    const auto end = std::find_if(begin, lines.end(), isEnd);
    std::transform(begin, end, std::back_inserter(rows), [](String_t line) { return line.Trim(); });
    rows.erase(std::remove_if(rows.begin(), rows.end(), [](const String_t& row) { return !IsRow(row); }), rows.end());
    return rows;
}

bool Never(const String_t&) {
    return false;
}

String_t WithoutBrackets(const String_t& owner) {
    return owner.LastChar() == u')' ? owner.Mid(1, owner.GetLength() - 1) : owner;
}

RhasService ServiceIn(const String_t& row, RhasGeneration generation, std::int32_t release) {
    ToolFields words = WordsOf(row);
    const String_t name = words.Next();
    if (generation == RhasGeneration::Exactly3) return {name, words.Next(), std::nullopt};
    const String_t owner = WithoutBrackets(words.Next());
    return {release == 5 ? BehindColon(name) : name, words.Next(), owner};
}

}  // namespace

std::int32_t RhasReleaseIn(const String_t& text, std::int32_t other) {
    const std::uint32_t word = text.Find(kRelease);
    if (word == NotFound) return other;
    constexpr std::uint32_t most = std::numeric_limits<std::int32_t>::max();
    const std::uint32_t number = text.Mid(word + kReleaseLength, text.Find(".")).ToUInt();
    return static_cast<std::int32_t>(std::min(number, most));
}

String_t RhasClusterName(const ToolLines& lines, RhasGeneration generation) {
    if (generation == RhasGeneration::Exactly3) return Between(LineWith(lines, "name"), "=");
    for (const char* key : {"Cluster name:", "Cluster Name:"}) {
        const String_t name = Between(LineWith(lines, key), key);
        if (name.IsNotEmpty()) return name;
    }
    return "";
}

std::vector<RhasMember> RhasMembers(const ToolLines& lines, RhasGeneration generation) {
    const MemberTable& table = kMemberTables[static_cast<std::size_t>(generation)];
    std::vector<RhasMember> members;
    for (const String_t& row : RowsBehind(lines, table.heading, table.first, table.isEnd))
        members.push_back({WordsOf(row).Next(), table.isUp(row)});
    return members;
}

std::vector<RhasService> RhasServices(const ToolLines& lines, RhasGeneration generation, std::int32_t release) {
    const bool is3 = generation == RhasGeneration::Exactly3;
    std::vector<RhasService> services;
    for (const String_t& row : RowsBehind(lines, is3 ? "Service" : kServices, is3 ? 1 : 2, Never))
        services.push_back(ServiceIn(row, generation, release));
    return services;
}

std::vector<RhasService> RhasServicesOf(const ToolLines& names, const ToolLines& states) {
    std::map<String_t, String_t> wordOf;
    for (const String_t& line : states) {
        ToolFields words = WordsOf(line);
        const String_t name = words.Next();
        wordOf.emplace(name, words.Next());
    }
    std::vector<RhasService> services;
    for (const String_t& line : names) {
        const String_t name = WordsOf(line).Next();
        if (IsRow(name)) services.push_back({name, wordOf[name], std::nullopt});
    }
    return services;
}

bool RhasKnowsNothing(const ToolLines& lines) {
    return lines.size() == 1 && Holds(lines.front(), kServices);
}

String_t RhasAddress(const ToolLines& lines, RhasGeneration generation) {
    if (generation == RhasGeneration::Below3) return Between(LineWith(lines, "IP"), ":");
    return Between(LineWith(lines, "ipaddress ="), "ipaddress =");
}

}  // namespace LumConfCluster
