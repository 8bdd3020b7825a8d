#include "common/Table.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <sstream>

#include "LumPalColumns.h"

namespace lumtools {

namespace {

constexpr int kGap = 2;
constexpr const char* kEllipsis = "\u2026";
/// A longer cell stands out of its column: as many blanks in every other line would fill a screen, or the memory.
constexpr int kWidestColumn = 100;

/// The next code point, and the position behind it. The text is valid UTF-8: it comes from a String_t.
std::uint32_t Next(const std::string& utf8, std::size_t& at) {
    const auto lead = static_cast<unsigned char>(utf8[at++]);
    if (lead < 0x80) return lead;
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    std::uint32_t point = lead & (0x3F >> more);
    for (int i = 0; i < more && at < utf8.size(); ++i) {
        point = point << 6 | (static_cast<unsigned char>(utf8[at++]) & 0x3F);
    }
    return point;
}

struct Range {
    std::uint32_t first, last;
};

bool IsIn(const Range* begin, const Range* end, std::uint32_t point) {
    return std::any_of(begin, end, [point](const Range& r) { return point >= r.first && point <= r.last; });
}

// The main blocks of East Asian Wide (UAX #11) and of nonspacing marks.
const Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},  {0xAC00, 0xD7A3},
                       {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6},
                       {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
const Range kNone[] = {{0x0300, 0x036F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

int WidthOf(std::uint32_t point) {
    if (IsIn(std::begin(kNone), std::end(kNone), point)) return 0;
    return IsIn(std::begin(kWide), std::end(kWide), point) ? 2 : 1;
}

bool IsControl(std::uint32_t point) {
    // Line and paragraph separators and the bidirectional controls rearrange a terminal's line too.
    const Range controls[] = {{0, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
    return IsIn(std::begin(controls), std::end(controls), point);
}

}  // namespace

int DisplayWidth(const std::string& utf8) {
    int width = 0;
    for (std::size_t at = 0; at < utf8.size();) width += WidthOf(Next(utf8, at));
    return width;
}

std::string Shortened(const std::string& utf8, int columns) {
    int width = 0;
    std::size_t cut = 0;  // behind what leaves room for the ellipsis
    for (std::size_t at = 0; at < utf8.size();) {
        width += WidthOf(Next(utf8, at));
        if (width < columns) cut = at;
        if (width > columns) return columns > 0 ? utf8.substr(0, cut) + kEllipsis : "";
    }
    return utf8;
}

std::string Printable(const std::string& utf8) {
    std::string result;
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        result += IsControl(Next(utf8, at)) ? "?" : utf8.substr(start, at - start);
    }
    return result;
}

std::string PrintableLines(const std::string& lines) {
    std::istringstream in(lines);
    std::string out;
    for (std::string line; std::getline(in, line);) out += Printable(line) + "\n";
    return out;
}

Table::Table(std::vector<std::string> header) {
    rows.push_back(std::move(header));
}

void Table::Add(std::vector<std::string> row) {
    for (std::string& cell : row) cell = Printable(cell);
    rows.push_back(std::move(row));
}

void Table::Print(std::ostream& out) const {
    std::vector<int> widths(rows.front().size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const int width = DisplayWidth(row[i]);
            if (width <= kWidestColumn) widths[i] = std::max(widths[i], width);
        }
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) line.append(std::max(widths[i] - DisplayWidth(row[i]), 0) + kGap, ' ');
        }
        line.resize(LumPalStr::TrimmedEnd(std::string_view(line), " ").size());
        out << line << "\n";
    }
}

}  // namespace lumtools
