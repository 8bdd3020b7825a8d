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

void Screen::Draw(const std::string& text) {
    const LumPalThread::PlainLock_t lock(mutex);
    if (isClosed) return;
    if (last.empty()) std::cout << kBegin;
    last = text;
    Show();
}

void Screen::Leave(const std::function<void()>& meanwhile) {
    const LumPalThread::PlainLock_t lock(mutex);
    const bool isShown = !last.empty() && !isClosed;
    if (isShown) std::cout << kEnd << std::flush;
    meanwhile();
    if (!isShown) return;
    std::cout << kBegin;
    Show();
}

void Screen::Close() {
    const LumPalThread::PlainLock_t lock(mutex);
    if (!last.empty() && !isClosed) std::cout << kEnd << std::flush;
    isClosed = true;
}

void Screen::Show() {
    // One line stays free: the line feed behind the last one would move all of them.
    std::istringstream in(FirstLines(last, LumPalConsole::Rows(LumPalConsole::Stream::Output) - 1));
    std::string drawn = kHome;
    for (std::string line; std::getline(in, line);) drawn += line + kRestOfLine + "\n";
    std::cout << drawn << kRestOfScreen << std::flush;
}

}  // namespace lumcluster
