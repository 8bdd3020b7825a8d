/// @file
/// The local time as text.
#pragma once

#include <chrono>
#include <string>

namespace LumPal {

/// The moment in local time, ISO 8601 with milliseconds and offset: "2024-02-29T08:05:01.250+01:00".
/// Any thread.
std::string LocalTimeText(std::chrono::system_clock::time_point moment);

}  // namespace LumPal
