#include "PlsdOutput.h"

#include <algorithm>
#include <string_view>

#include "ToolFields.h"

namespace LumConfCluster {

using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kHeading = 2;
constexpr const char* kPackageHeading = "PACKAGE        STATUS";
constexpr const char* kNodeHeading = "NODE_NAME";

PlsdRow RowOf(const String_t& line) {
    ToolFields words = WordsOf(line);
    const String_t name = words.Next();
    return {name, words.Next()};
}

PlsdPackage PackageOf(const String_t& line) {
    ToolFields words = WordsOf(line);
    PlsdPackage package;
    package.name = words.Next();
    package.word = words.Next();
    package.node = words.Skip(3).Rest();
    return package;
}

/// Where the next line with the text stands, or the end.
template <class Iterator>
Iterator NextWith(Iterator from, Iterator end, const char* text) {
    return std::find_if(from, end, [&](const String_t& line) { return line.Find(text) != NotFound; });
}

/// Whether a heading of the lines has a line below it that begins with the word.
template <class Iterator>
bool HasBelow(Iterator from, Iterator end, const char* heading, const String_t& word) {
    while ((from = NextWith(from, end, heading)) != end) {
        if (++from != end && WordsOf(*from).Next() == word) return true;
    }
    return false;
}

String_t DigitsAndPoints(const String_t& text) {
    const std::u16string_view units = text.View(), wanted = u"0123456789.";
    const std::size_t first = units.find_first_of(wanted), last = units.find_last_of(wanted);
    if (first == units.npos) return "";
    return text.Mid(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last + 1));
}

/// The line without its end. False at the end of the script.
bool ReadLine(LumPalIo::DataInputStream_t& script, String_t& line) {
    try {
        const LumPalArray::CharArray_t bytes = script.ReadLine();
        line = String_t::FromUtf8(std::string_view(bytes.GetData(), bytes.GetLength()));
        return true;
    } catch (const LumPalIo::EOFException_t&) {
        return false;
    }
}

}  // namespace

PlsdRow PlsdOnlyRow(const ToolLines& lines) {
    return lines.size() > kHeading ? RowOf(lines[kHeading]) : PlsdRow{"", ""};
}

std::vector<PlsdRow> PlsdNodeRows(const ToolLines& lines) {
    std::vector<PlsdRow> rows;
    for (std::size_t i = kHeading; i < lines.size(); ++i) {
        const PlsdRow row = RowOf(lines[i]);
        if (row.name.IsNotEmpty()) rows.push_back(row);
    }
    return rows;
}

std::vector<PlsdPackage> PlsdPackages(const ToolLines& lines) {
    std::vector<PlsdPackage> packages;
    bool isOwned = true, isMultiNode = false;
    for (const String_t& line : lines) {
        PlsdPackage package = PackageOf(line);
        const String_t text = String_t(line).Trim();
        if (text == "MULTI_NODE_PACKAGES" || text == "UNOWNED_PACKAGES") {
            isOwned = false;  // kept: no section makes the packages below it owned again
            isMultiNode = text == "MULTI_NODE_PACKAGES";
        } else if (text.IsNotEmpty() && package.name != "PACKAGE") {
            package.isOwned = isOwned;
            package.isMultiNode = isMultiNode;
            packages.push_back(package);
        }
    }
    return packages;
}

bool PlsdRunsOn(const ToolLines& lines, const String_t& package, const String_t& node) {
    const auto end = lines.end();
    for (auto from = NextWith(lines.begin(), end, kPackageHeading); from != end;) {
        if (++from == end) break;
        const auto next = NextWith(from, end, kPackageHeading);
        if (WordsOf(*from).Next() == package && HasBelow(from, next, kNodeHeading, node)) return true;
        from = next;
    }
    return false;
}

ToolLines PlsdConfiguredNodes(const ToolLines& lines) {
    ToolLines names;
    for (const String_t& line : lines) {
        const PlsdRow row = RowOf(line);
        if (row.name == kNodeHeading) names.push_back(row.word);
    }
    return names;
}

String_t PlsdScript(const ToolLines& lines) {
    for (const String_t& line : lines) {
        const PlsdRow row = RowOf(line);
        if (row.name == "RUN_SCRIPT") return row.word;
    }
    return "";
}

String_t PlsdAddressIn(const LumPalIo::InputStream_t& script) {
    LumPalIo::DataInputStream_t lines(script);
    for (String_t line; ReadLine(lines, line);) {
        const std::uint32_t assigned = line.Find("=");
        if (assigned == NotFound || line.Left(assigned).Trim() != "IP[0]") continue;
        return DigitsAndPoints(line.Mid(assigned + 1));
    }
    return "";
}

}  // namespace LumConfCluster
