/// @file
/// One line of a terminal that says how far the work is.
#pragma once

#include <chrono>
#include <string>

#include "LumPalPlainMutex.h"

namespace lumtools {

/// A line of the terminal that standard error goes to; elsewhere nothing is shown. Any thread.
class StatusLine {
public:
    using Clock = std::chrono::steady_clock;
    /// Work that is done within this time shows nothing.
    static constexpr std::chrono::seconds kPatience{1};

    explicit StatusLine(bool isWanted);
    /// Whether the work has taken long enough to be shown.
    bool IsDue() const;
    std::chrono::seconds GetElapsed() const;
    /// Shows the text in place of the last one, as far as the terminal is wide.
    void Show(const std::string& text);
    /// Takes the line away: what is printed next begins in its place.
    void Clear();
    /// Prints to standard error where the line stood.
    void PrintAbove(const std::string& text);

private:
    std::string Blank() LUMPAL_REQUIRES(mutex);

    const bool isWanted;
    const Clock::time_point start = Clock::now();
    LumPalThread::PlainMutex_t mutex;
    std::string shown LUMPAL_GUARDED_BY(mutex);
};

}  // namespace lumtools
