/// @file
/// A moment after which nothing is waited for any more.
#pragma once

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <optional>

namespace LumPalCmd {

/// @throws StoppingException_t
[[noreturn]] void ThrowStopping();

/// A value; by default it never comes. By the steady clock.
class Deadline {
public:
    Deadline() = default;
    /// @param milliseconds  from now on; 0 is never
    /// @param comesWithStop  also when the process is stopping
    explicit Deadline(std::uint32_t milliseconds, bool comesWithStop = false) : comesWithStop(comesWithStop) {
        if (milliseconds > 0) moment = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    }
    /// @throws TimeLimitException_t once the moment has come; StoppingException_t
    void Check() const;
    bool IsOver() const { return moment && std::chrono::steady_clock::now() >= *moment; }
    /// How long nobody need look again, for poll(2): rounded up, -1 when it never comes.
    int LeftMs() const {
        if (!comesWithStop) return LeftOfTimeMs();
        const int left = LeftOfTimeMs();
        return left < 0 ? kLookForStopMs : std::min(left, kLookForStopMs);
    }

private:
    static constexpr int kLookForStopMs = 100;

    int LeftOfTimeMs() const {
        if (!moment) return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*moment - std::chrono::steady_clock::now());
        return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
    }

    bool comesWithStop = false;
    std::optional<std::chrono::steady_clock::time_point> moment;
};

}  // namespace LumPalCmd
