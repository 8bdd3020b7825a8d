#include "lumcluster/Screen.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <vector>

#include "LumPalConsole.h"

namespace lumcluster {

namespace {

constexpr const char* kBegin = "\033[?1049h\033[?25l\033[?7l";
constexpr const char* kEnd = "\033[?7h\033[?25h\033[?1049l";
constexpr const char *kHome = "\033[H", *kRestOfLine = "\033[K", *kRestOfScreen = "\033[J";

}  // namespace

std::string FirstLines(const std::string& text, int rows) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    const auto room = static_cast<std::size_t>(std::max(rows, 1));
    if (lines.size() > room) {
        const std::size_t missing = lines.size() - room + 1;
        lines.resize(room);
        lines.back() = "... and " + std::to_string(missing) + " more lines";
    }
    std::string first;
    for (const std::string& line : lines) first += line + "\n";
    return first;
}

Screen::Screen() {
    std::cout << kBegin << std::flush;
}

Screen::~Screen() {
    std::cout << kEnd << std::flush;
}

void Screen::Draw(const std::string& text) const {
    // One line stays free: the line feed behind the last one would move all of them.
    std::istringstream in(FirstLines(text, LumPalConsole::Rows(LumPalConsole::Stream::Output) - 1));
    std::string drawn = kHome;
    for (std::string line; std::getline(in, line);) drawn += line + kRestOfLine + "\n";
    std::cout << drawn << kRestOfScreen << std::flush;
}

}  // namespace lumcluster
