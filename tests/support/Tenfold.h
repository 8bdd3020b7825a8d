/// @file
/// Whether work grows no faster than what it is done on.
#pragma once

#include <time.h>

#include <algorithm>

/// Three times what ten times the entries may cost: the neighbours of a busy machine, and caches that are too small,
/// are not the code's fault. A walk inside a walk costs a hundred times as much.
inline constexpr double kMostForTenfold = 36;

/// Seconds of processor time that a call takes on this thread.
template <class Call>
double ProcessorSeconds(Call&& call) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double begin = now();
    call();
    return now() - begin;
}

/// What ten times the entries cost, measured by what they cost: the least of three tries of each.
/// @param seconds  the cost of so many entries
template <class Seconds>
double TenfoldRatio(int entries, Seconds&& seconds) {
    const auto least = [&](int count) { return std::min({seconds(count), seconds(count), seconds(count)}); };
    return least(10 * entries) / least(entries);
}
