/// @file
/// Warnings that a peer can provoke, without a flood.
#pragma once

#include <chrono>
#include <mutex>

#include "LumPalMsg.h"

namespace LumPalLog {

/// Writes one warning of its kind in ten seconds to the application log and counts the rest. Any thread.
class ThrottledLog {
public:
    /// @param text  with %1 for the detail
    void Warn(const char* text, const LumPalStr::String_t& detail);
    /// The same where memory may be out.
    /// @param detail  UTF-8
    void WarnGuarded(const char* text, const char* detail) noexcept;

private:
    std::mutex mutex;  ///< guards all below
    std::chrono::steady_clock::time_point next{};
    unsigned suppressed = 0;
};

}  // namespace LumPalLog
