/// @file
/// A signal to stop that comes before the daemon serves.
#pragma once

#include "LumPalBell.h"
#include "LumPalDaemon.h"

namespace lumconfd {

/// As long as it lives, a signal to stop ends the process at once, as stopped: nothing has been promised to anybody
/// yet, and what lies on the disk stands an end at any moment. Reading a large store would take longer than a service
/// manager waits.
class StartGuard final {
public:
    /// @throws LumPalMsg::RuntimeException_t without room for a thread
    explicit StartGuard(const LumPalRuntime::Signals_t& signals);
    /// A signal that comes from now on is the owner's.
    ~StartGuard() = default;
    StartGuard(const StartGuard&) = delete;
    StartGuard& operator=(const StartGuard&) = delete;

private:
    LumPalThread::StepThread_t thread;
};

}  // namespace lumconfd
