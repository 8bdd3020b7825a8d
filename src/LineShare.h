/// @file
/// How many lines of a log callers may provoke.
#pragma once

#include <chrono>
#include <utility>

namespace LumConf {

/// In each while so many lines are written, and what comes beyond is counted. A while begins with its first line. Used
/// by one thread at a time; the caller brings the clock.
class LineShare {
public:
    using Clock = std::chrono::steady_clock;

    LineShare(unsigned most, Clock::duration length) noexcept : most(most), length(length) {}
    /// Whether the line is to be written; else it is counted. Of a while that is over TakeCount comes first.
    bool Take(Clock::time_point now) noexcept {
        if (now >= end) Begin(now);
        if (written == most) ++counted;
        return written < most && ++written > 0;
    }
    /// How many were counted in a while that is over; they are reported once.
    unsigned TakeCount(Clock::time_point now) noexcept { return now >= end ? TakeCount() : 0; }
    /// How many were counted until now.
    unsigned TakeCount() noexcept { return std::exchange(counted, 0); }
    /// What was taken could not be reported.
    void PutBack(unsigned count) noexcept { counted += count; }
    bool HasCount() const noexcept { return counted > 0; }
    Clock::time_point GetEnd() const noexcept { return end; }

private:
    void Begin(Clock::time_point now) noexcept {
        end = now + length;
        written = 0;
    }

    const unsigned most;
    const Clock::duration length;
    Clock::time_point end = Clock::time_point::min();
    unsigned written = 0, counted = 0;
};

}  // namespace LumConf
