#include "lumcluster/Watch.h"

#include "LumPalDaemon.h"
#include "LumPalThread.h"

namespace lumcluster {

using LumPalThread::Thread_t;

namespace {

/// Waits for the first signal.
class StopWatch : public LumPalThread::Runnable_i {
public:
    void Run(const Thread_t&) override {
        signals.Wait();
        LumPalRuntime::SetStopping(true);
    }

private:
    const LumPalRuntime::Signals_t signals;
};

}  // namespace

void Repeat(const std::function<bool()>& step, const std::function<std::uint32_t()>& pauseMs) {
    // Never destroyed: the thread waits on when the step was what ended this, and goes with the process.
    static StopWatch& watch = *new StopWatch;
    Thread_t thread("SignalWatch");
    thread.Start(watch);
    while (!LumPalRuntime::IsStopping() && step()) {
        if (LumPalRuntime::WaitForStopping(pauseMs())) return;
    }
}

}  // namespace lumcluster
