/// @file
/// Listening to the control service, over restarts of it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "LumPalStr.h"

namespace lumevents {

/// What to listen for, and how long without a service.
struct ListenOptions {
    std::string name;
    std::vector<std::string> events;
    std::uint64_t count = 0;  ///< of events; 0: without end
    bool quiet = false;       ///< the first registration is not said
    /// Longest time without the control service. None: at the start it must be there, later it is waited for without
    /// end.
    std::optional<std::chrono::seconds> patience;
};

/// Takes an event. @return whether it is to be acknowledged; the listening ends otherwise
using Take = std::function<bool(const LumPalStr::String_t& event, const LumPalStr::String_t& value)>;

/// Registers and hands each event to `take`, until the process is stopping (LumPalRuntime::SetStopping), the count is
/// reached, or `take` ends it. When the service goes away it registers again as soon as there is one; both are said on
/// standard error, once each, since nobody knows what was missed.
/// @return false when `take` has ended it. @throws LumPalIo::IOException_t when it cannot register, or not in time
bool Listen(const ListenOptions& options, const Take& take);

}  // namespace lumevents
