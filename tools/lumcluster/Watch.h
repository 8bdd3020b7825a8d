/// @file
/// Doing something again and again until somebody has had enough.
#pragma once

#include <cstdint>
#include <functional>

namespace lumcluster {

/// Is called, on a thread of its own, when somebody suspends this process at its terminal (Ctrl-Z). It is to call
/// suspend, which returns when the process goes on.
using OnSuspension = std::function<void(const std::function<void()>& suspend)>;

/// Does the step, and again after each pause, until it returns false or a signal to stop arrives (also that of a
/// terminal that goes). Such a signal ends the pause at once, and tools that the step runs. To be called on the main
/// thread, before there are others, and once.
/// @param onSuspension  also called after this has returned; empty: nothing is to be done
void Repeat(const std::function<bool()>& step, const std::function<std::uint32_t()>& pauseMs,
            const OnSuspension& onSuspension = {});

}  // namespace lumcluster
