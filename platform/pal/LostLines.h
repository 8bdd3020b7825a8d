/// @file
/// Lines that a log had no room for.
#pragma once

#include <chrono>
#include <cstdint>

#include "LumPalMsg.h"

namespace LumPalLog {

/// Counts lines that could not be written, until that can be reported. One thread at a time.
class LostLines {
public:
    using Moment = std::chrono::system_clock::time_point;
    /// One more is lost.
    /// @param reason  why; kinds of reasons beyond the first three are left out
    void Add(Moment moment, const LumPalMsg::MessageList_t& reason);
    bool Any() const noexcept { return count > 0; }
    /// How many, since when and, as details, why: "3 line(s) of this log were lost since
    /// 2024-02-29T08:05:01.250+01:00."
    LumPalMsg::Message_t Notice() const;

private:
    std::uint64_t count = 0;
    Moment since{};
    LumPalMsg::MessageList_t reasons;
};

}  // namespace LumPalLog
