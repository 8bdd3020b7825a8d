/// @file
/// A table for a terminal.
#pragma once

#include <iosfwd>
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

/// Rows of texts, each column as wide as its widest text.
class Table {
public:
    explicit Table(std::vector<std::string> header);
    void Add(std::vector<std::string> row);
    void Print(std::ostream& out) const;

private:
    std::vector<std::vector<std::string>> rows;
};

}  // namespace lumtools
