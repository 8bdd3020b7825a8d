#include "lumcluster/Watch.h"

#include "LumPalConsole.h"
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

/// Waits for one suspension after another.
class SuspensionWatch : public LumPalThread::Runnable_i {
public:
    explicit SuspensionWatch(const OnSuspension& onSuspension) : onSuspension(onSuspension) {}
    void Run(const Thread_t&) override {
        for (;;) {
            suspensions.Wait();
            onSuspension([this] { suspensions.Suspend(); });
        }
    }

private:
    const LumPalConsole::Suspensions_t suspensions;
    const OnSuspension onSuspension;
};

/// The runnable is never destroyed: the thread waits on when the step was what ended all, and goes with the process.
void Start(const char* name, LumPalThread::Runnable_i* watch) {
    Thread_t(name).Start(*watch);
}

}  // namespace

void Repeat(const std::function<bool()>& step, const std::function<std::uint32_t()>& pauseMs,
            const OnSuspension& onSuspension) {
    static LumPalThread::Runnable_i* const stops = new StopWatch;
    static LumPalThread::Runnable_i* const suspensions = onSuspension ? new SuspensionWatch(onSuspension) : nullptr;
    Start("SignalWatch", stops);
    if (suspensions) Start("SuspendWatch", suspensions);
    while (!LumPalRuntime::IsStopping() && step()) {
        if (LumPalRuntime::WaitForStopping(pauseMs())) return;
    }
}

}  // namespace lumcluster
