/// @file
/// Control::Notify with its limit given by the caller.
#pragma once

#include <cstdint>

#include "LumCtrl.h"

namespace LumCtrl {

/// @param milliseconds  how long a synchronous trigger waits for acknowledgements
void NotifyWithin(const LumPalStr::String_t& event, const LumPalStr::String_t& value, const LumPalStr::String_t& target,
                  const Control::Options& options, std::uint32_t milliseconds);

/// CONTROL_ACK_TIMEOUT of "conf.core" (seconds, 1 to 3600, default 30) in milliseconds.
std::uint32_t AcknowledgeLimitMs();

}  // namespace LumCtrl
