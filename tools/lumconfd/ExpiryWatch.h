/// @file
/// Looks at the node's certificates as long as the daemon runs.
#pragma once

#include "LumPalThread.h"
#include "lumconfd/Bell.h"
#include "lumconfd/Expiry.h"

namespace lumconfd {

/// Looks when it is made, every hour, and after each reload, on a thread of its own.
class ExpiryWatch final : private LumPalThread::Runnable_i {
public:
    /// @throws LumPalMsg::RuntimeException_t without room for a thread
    ExpiryWatch();
    ~ExpiryWatch() override;
    ExpiryWatch(const ExpiryWatch&) = delete;
    ExpiryWatch& operator=(const ExpiryWatch&) = delete;

    /// The certificates may be others now. Any thread; returns at once.
    void Reloaded() { bell.Ring(); }

private:
    void Run(const LumPalThread::Thread_t& thread) override;

    Bell bell;
    Expiry expiry;  ///< the thread's own
    LumPalThread::Thread_t thread;
};

}  // namespace lumconfd
