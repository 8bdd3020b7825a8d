#include "common/Table.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <optional>
#include <ostream>
#include <sstream>

#include "LumPalColumns.h"
#include "LumPalConsole.h"

namespace lumtools {

namespace {

constexpr int kGap = 2;
constexpr const char* kEllipsis = "\u2026";
/// A longer cell stands out of its column: as many blanks in every other line would fill a screen, or the memory.
constexpr int kWidestColumn = 100;
constexpr int kNarrowestColumn = 4;

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

/// The widest of the columns that can be narrower; null when none can.
int* WidestOf(std::vector<int>& widths, const std::set<std::size_t>& excluded) {
    int* widest = nullptr;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] <= kNarrowestColumn || excluded.contains(i)) continue;
        if (!widest || widths[i] > *widest) widest = &widths[i];
    }
    return widest;
}

bool IsColourWanted() {
    const char *no = std::getenv("NO_COLOR"), *terminal = std::getenv("TERM");
    return !(no && *no) && terminal && std::string(terminal) != "dumb";
}

bool IsControl(std::uint32_t point) {
    // Line and paragraph separators and the bidirectional controls rearrange a terminal's line too.
    const Range controls[] = {{0, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
    return IsIn(std::begin(controls), std::end(controls), point);
}

std::optional<std::int64_t> NumberIn(const std::string& cell) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), number);
    return error == std::errc() && end == cell.data() + cell.size() ? std::optional(number) : std::nullopt;
}

/// Whole numbers in front of texts, by what they count.
bool IsBefore(const std::string& a, const std::string& b) {
    const auto first = NumberIn(a), second = NumberIn(b);
    if (first && second) return *first < *second;
    return first || second ? first.has_value() : a < b;
}

}  // namespace

int DisplayWidth(const std::string& utf8) {
    int width = 0;
    for (std::size_t at = 0; at < utf8.size();) width += LumPalConsole::ColumnsOf(Next(utf8, at));
    return width;
}

std::string Shortened(const std::string& utf8, int columns) {
    int width = 0;
    std::size_t cut = 0;  // behind what leaves room for the ellipsis
    for (std::size_t at = 0; at < utf8.size();) {
        width += LumPalConsole::ColumnsOf(Next(utf8, at));
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

TableLayout TableLayout::ForOutput() {
    const int columns = LumPalConsole::Columns(LumPalConsole::Stream::Output);
    return {columns, columns > 0 && IsColourWanted(), true};
}

std::string Marked(const std::string& text, Mark mark, const TableLayout& layout) {
    constexpr const char* kColours[] = {"", "\033[32m", "\033[33m", "\033[31m"};
    const char* colour = kColours[static_cast<int>(mark)];
    return layout.isColoured && *colour && !text.empty() ? colour + text + "\033[0m" : text;
}

Table::Table(std::vector<std::string> header) {
    rows.push_back(std::move(header));
}

void Table::Add(std::vector<std::string> row) {
    for (std::string& cell : row) cell = Printable(cell);
    rows.push_back(std::move(row));
}

void Table::SetMarks(std::size_t column, Mark (*markOf)(const std::string&)) {
    marks[column] = markOf;
}

void Table::KeepWhole(std::size_t column) {
    kept.insert(column);
}

void Table::SortBy(std::size_t column) {
    std::stable_sort(rows.begin() + 1, rows.end(),
                     [column](const auto& a, const auto& b) { return IsBefore(a[column], b[column]); });
}

std::string Table::LinesOf(const std::vector<std::size_t>& columns) const {
    std::string lines;
    for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
        for (const std::size_t column : columns) lines += (column == columns.front() ? "" : " ") + (*row)[column];
        lines += "\n";
    }
    return lines;
}

void Table::Print(std::ostream& out, const TableLayout& layout) const {
    const std::vector<int> widths = WidthsFor(layout);
    for (std::size_t i = layout.hasHeader ? 0 : 1; i < rows.size(); ++i) out << Line(rows[i], widths, layout, i == 0);
}

std::vector<int> Table::WidthsFor(const TableLayout& layout) const {
    std::vector<int> widths(rows.front().size());
    for (std::size_t r = layout.hasHeader ? 0 : 1; r < rows.size(); ++r) {
        for (std::size_t i = 0; i < rows[r].size(); ++i) {
            const int width = DisplayWidth(rows[r][i]);
            if (width <= kWidestColumn || layout.columns > 0) widths[i] = std::max(widths[i], width);
        }
    }
    if (layout.columns > 0) Narrow(widths, layout.columns);
    return widths;
}

/// Makes the widest columns narrower until all fit, as far as something can still be read of each.
void Table::Narrow(std::vector<int>& widths, int columns) const {
    for (int& width : widths) width = std::min(width, columns);
    const int gaps = kGap * (static_cast<int>(widths.size()) - 1);
    while (std::accumulate(widths.begin(), widths.end(), gaps) > columns) {
        int* widest = WidestOf(widths, kept);
        if (!widest) widest = WidestOf(widths, {});
        if (!widest) return;
        --*widest;
    }
}

std::string Table::Line(const std::vector<std::string>& row, const std::vector<int>& widths, const TableLayout& layout,
                        bool isHeader) const {
    std::string line;
    int column = 0;
    const int end = layout.columns > 0 ? layout.columns : std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < row.size() && column < end; ++i) {
        const std::string cell = layout.columns > 0 ? Shortened(row[i], std::min(widths[i], end - column)) : row[i];
        const int width = DisplayWidth(cell), pad = std::max(widths[i] - width, 0) + kGap;
        const auto mark = isHeader ? marks.end() : marks.find(i);
        line += mark == marks.end() ? cell : Marked(cell, mark->second(row[i]), layout);
        if (i + 1 < row.size()) line.append(pad, ' ');
        column += width + pad;
    }
    line.resize(LumPalStr::TrimmedEnd(std::string_view(line), " ").size());
    return line + "\n";
}

}  // namespace lumtools
