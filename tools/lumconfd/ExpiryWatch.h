/// @file
/// Looks at the node's certificates as long as the daemon runs.
#pragma once

#include "LumPalBell.h"
#include "lumconfd/Expiry.h"

namespace lumconfd {

/// Looks when it is made, every hour, and after each reload, on a thread of its own.
class ExpiryWatch final {
public:
    /// @throws LumPalMsg::RuntimeException_t without room for a thread
    ExpiryWatch();
    ExpiryWatch(const ExpiryWatch&) = delete;
    ExpiryWatch& operator=(const ExpiryWatch&) = delete;

    /// The certificates may be others now. Any thread; returns at once.
    void Reloaded() { thread.Ring(); }

private:
    Expiry expiry;  ///< the thread's own
    LumPalThread::StepThread_t thread;
};

}  // namespace lumconfd
