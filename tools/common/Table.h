/// @file
/// A table for a terminal.
#pragma once

#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace lumtools {

/// Columns of an UTF-8 text on a terminal: wide characters count two, combining ones none.
int DisplayWidth(const std::string& utf8);

/// The text, as far as it fits into so many columns; where it is cut, an ellipsis stands in the last one.
std::string Shortened(const std::string& utf8, int columns);

/// The text without control characters: what comes from a node cannot drive the terminal.
std::string Printable(const std::string& utf8);
/// The same for each line of several; each ends in a line feed.
std::string PrintableLines(const std::string& lines);

/// How a table is laid out.
struct TableLayout {
    int columns = 0;  ///< of a line; longer cells are shortened, the widest columns first. 0: as many as there are
    bool isColoured = false;
    bool hasHeader = true;

    /// For standard output: as wide as its terminal, and in colours unless the environment says NO_COLOR or that the
    /// terminal is dumb; elsewhere whole and plain.
    static TableLayout ForOutput();
};

/// How a text stands out.
enum class Mark { None, Good, Doubtful, Bad };

/// The text in the colour of its mark, where the layout is coloured. Its own control characters stay in it.
std::string Marked(const std::string& text, Mark mark, const TableLayout& layout);

/// Rows of texts, each column as wide as its widest text.
class Table {
public:
    using Mark = lumtools::Mark;

    explicit Table(std::vector<std::string> header);
    void Add(std::vector<std::string> row);
    /// Marks the cells of a column, by what they hold before they are shortened.
    void SetMarks(std::size_t column, Mark (*markOf)(const std::string& cell));
    /// Shortens the cells of a column only when those of all other columns cannot be shorter.
    void KeepWhole(std::size_t column);
    /// Sorts the rows by a column, numbers by what they count; rows that are equal there stay as they are.
    void SortBy(std::size_t column);
    /// The cells of some columns, a line for each row, with blanks between them.
    std::string LinesOf(const std::vector<std::size_t>& columns) const;
    void Print(std::ostream& out, const TableLayout& layout = {}) const;

private:
    std::vector<int> WidthsFor(const TableLayout& layout) const;
    void Narrow(std::vector<int>& widths, int columns) const;
    std::string Line(const std::vector<std::string>& row, const std::vector<int>& widths, const TableLayout& layout,
                     bool isHeader) const;

    std::vector<std::vector<std::string>> rows;
    std::map<std::size_t, Mark (*)(const std::string&)> marks;  ///< by their columns
    std::set<std::size_t> kept;                                 ///< columns
};

}  // namespace lumtools
