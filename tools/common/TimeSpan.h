/// @file
/// Spans of time for people.
#pragma once

#include <cstdint>
#include <string>

namespace lumtools {

/// In its largest unit of days, hours, minutes and seconds, rounded down: "3 days". Below 0 it is 0 seconds.
std::string SpanText(std::int64_t seconds);
/// "ends in 3 days", "ENDED 1 hour ago". @param secondsLeft  until the end; from 0 downwards it has come
std::string EndText(std::int64_t secondsLeft);

}  // namespace lumtools
