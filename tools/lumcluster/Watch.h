/// @file
/// Doing something again and again until somebody has had enough.
#pragma once

#include <cstdint>
#include <functional>

namespace lumcluster {

/// Does the step, and again after each pause, until it returns false or a signal to stop arrives (also that of a
/// terminal that goes). Such a signal ends the pause at once, and tools that the step runs. To be called on the main
/// thread, before there are others, and once.
void Repeat(const std::function<bool()>& step, const std::function<std::uint32_t()>& pauseMs);

}  // namespace lumcluster
