/// @file
/// Ratios of interleaved pairs, and the table of them.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace bench {

/// Wall-clock seconds that a call takes.
template <class Call>
double Seconds(Call&& call) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Seconds of processor time that this thread has had so far, in the program and in the system on its behalf.
double ProcessorTime();

/// Likewise that a call takes on this thread: what else runs on the machine counts less than on a clock on the wall.
template <class Call>
double ProcessorSeconds(Call&& call) {
    const double begin = ProcessorTime();
    call();
    return ProcessorTime() - begin;
}

/// One row of the table.
struct Finding {
    std::string name;
    std::vector<double> ratios;  ///< one for each pair, measured by reference; not empty
    std::optional<double> goal;  ///< the median must not be above it; a row without one only informs
    std::string note;            ///< bare figures of this run, for the eye alone
};

/// How much a run does, and what it found. One thread.
class Session {
public:
    explicit Session(bool quick) : quick(quick) {}

    /// The first number in a real run; the second in a quick one, which shows that everything runs and measures
    /// nothing.
    int Choose(int full, int small) const noexcept { return quick ? small : full; }
    void Add(Finding finding) { findings.push_back(std::move(finding)); }
    void Print(std::ostream& out) const;
    bool AreGoalsMet() const;

private:
    bool quick;
    std::vector<Finding> findings;
};

/// The middle value; of an even count the mean of the middle two. @param values  not empty
double Median(std::vector<double> values);
/// The value below which a share of the values lies. @param values  not empty @param share  above 0, at most 1
double Quantile(std::vector<double> values, double share);

/// Times of pairs of calls that were made in turns.
struct Pairs {
    std::vector<double> measured, reference;
    std::vector<double> Ratios() const;
};

/// Makes the two calls in turns, so that what disturbs the machine disturbs both; who goes first changes each time. The
/// first pair warms everything up and is not kept. A call returns its own figure (seconds, say).
Pairs RunPairs(int count, const std::function<double()>& measured, const std::function<double()>& reference);

/// A figure with its unit, as "12.3 ms", from seconds.
std::string TimeText(double seconds);
/// The medians of pairs that are seconds, as "12.3 ms against 8.9 ms".
std::string Times(const Pairs& pairs);

}  // namespace bench
