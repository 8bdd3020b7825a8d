#include "common/StatusLine.h"

#include <iostream>

#include "LumPalConsole.h"
#include "common/Table.h"

namespace lumtools {

using LumPalConsole::Stream;
using LumPalThread::PlainLock_t;

namespace {

constexpr const char* kBeginOfLine = "\r\033[K";

}  // namespace

StatusLine::StatusLine(bool isWanted) : isWanted(isWanted && LumPalConsole::IsTerminal(Stream::Error)) {}

bool StatusLine::IsDue() const {
    return isWanted && Clock::now() - start >= kPatience;
}

std::chrono::seconds StatusLine::GetElapsed() const {
    return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start);
}

void StatusLine::Show(const std::string& text) {
    const PlainLock_t lock(mutex);
    // One column stays free: a terminal may begin another line when the last one is written.
    const std::string line = Shortened(Printable(text), LumPalConsole::Columns(Stream::Error) - 1);
    if (line == shown) return;
    std::cerr << kBeginOfLine + line << std::flush;
    shown = line;
}

void StatusLine::Clear() {
    const PlainLock_t lock(mutex);
    std::cerr << Blank() << std::flush;
}

void StatusLine::PrintAbove(const std::string& text) {
    const PlainLock_t lock(mutex);
    std::cerr << Blank() + text << std::flush;
}

std::string StatusLine::Blank() {
    if (shown.empty()) return "";
    shown.clear();
    return kBeginOfLine;
}

}  // namespace lumtools
