/// @file
/// Warnings that a peer can provoke, without a flood.
#pragma once

#include <chrono>

#include "LumPalMsg.h"
#include "LumPalPlainMutex.h"

namespace LumPalLog {

/// Writes one warning of its kind in ten seconds to the application log and counts the rest, which the next one, the
/// next call of LogRest beyond that time, or the end of the object logs. Any thread.
class ThrottledLog {
public:
    ThrottledLog() = default;
    ThrottledLog(const ThrottledLog&) = delete;
    ThrottledLog& operator=(const ThrottledLog&) = delete;
    ~ThrottledLog() { LogRestAt(std::chrono::steady_clock::time_point::max()); }
    /// @param text  with %1 for the detail; lives as long as this object
    void Warn(const char* text, const LumPalStr::String_t& detail);
    /// The same where memory may be out.
    /// @param detail  UTF-8
    void WarnGuarded(const char* text, const char* detail) noexcept;

    /// Logs how many were not written, if there are any and the ten seconds are over. Never throws.
    void LogRest() noexcept { LogRestAt(std::chrono::steady_clock::now()); }

private:
    void LogRestAt(std::chrono::steady_clock::time_point now) noexcept;

    LumPalThread::PlainMutex_t mutex;
    std::chrono::steady_clock::time_point next LUMPAL_GUARDED_BY(mutex){};
    unsigned suppressed LUMPAL_GUARDED_BY(mutex) = 0;
    const char* lastText LUMPAL_GUARDED_BY(mutex) = "";  ///< of the warning that was written last
};

}  // namespace LumPalLog
