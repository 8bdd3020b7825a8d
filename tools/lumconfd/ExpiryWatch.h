/// @file
/// Looks at the node's certificates, for those that end and those that are revoked, as long as the daemon runs.
#pragma once

#include "LumPalBell.h"
#include "common/RevokedHere.h"
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
    // The thread's own.
    Expiry expiry;
    lumtools::RevokedLog revoked;
    LumPalThread::StepThread_t thread;
};

}  // namespace lumconfd
