/// @file
/// A moment after which nothing is waited for any more.
#pragma once

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <optional>

namespace LumPalCmd {

/// A value; by default it never comes. By the steady clock.
class Deadline {
public:
    Deadline() = default;
    /// @param milliseconds  from now on; 0 is never
    explicit Deadline(std::uint32_t milliseconds) {
        if (milliseconds > 0) moment = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    }
    /// @throws TimeLimitException_t once the moment has come
    void Check() const;
    bool IsOver() const { return moment && std::chrono::steady_clock::now() >= *moment; }
    /// What is left, for poll(2): rounded up, -1 when it never comes.
    int LeftMs() const {
        if (!moment) return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*moment - std::chrono::steady_clock::now());
        return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
    }

private:
    std::optional<std::chrono::steady_clock::time_point> moment;
};

}  // namespace LumPalCmd
