/// @file
/// Takes up changed keys, certificates and rights while the daemon serves.
#pragma once

#include <functional>
#include <memory>

#include "LumCtrl.h"
#include "LumPalBell.h"

namespace lumconfd {

/// Waits on a thread of its own until a local tool says, through the control service, that something was changed; the
/// tool waits until it is taken up. Requests in flight go on with what they began with.
class TrustReload final {
public:
    /// @param reload  called on the thread; must not throw
    /// @throws LumPalIo::IOException_t when the control service does not run
    explicit TrustReload(std::function<void()> reload);
    TrustReload(const TrustReload&) = delete;
    TrustReload& operator=(const TrustReload&) = delete;

    /// Takes up nothing any more. Returns at once; the control service may stop afterwards.
    void Stop() { thread.Stop(); }

private:
    void Register();
    std::chrono::milliseconds Listen(const LumPalThread::Bell_t& bell);
    void TakeUpNext();

    const std::function<void()> reload;
    std::unique_ptr<LumCtrl::Component> component;  ///< the thread's own once it runs
    LumPalThread::StepThread_t thread;
};

}  // namespace lumconfd
