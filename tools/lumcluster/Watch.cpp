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

StopWatch& TheStopWatch() {
    static StopWatch& watch = *new StopWatch;  // never destroyed: its thread waits on, and goes with the process
    return watch;
}

SuspensionWatch& TheSuspensionWatch(const OnSuspension& onSuspension) {
    // never destroyed: its thread waits on, and goes with the process
    static SuspensionWatch& watch = *new SuspensionWatch(onSuspension);
    return watch;
}

}  // namespace

void Repeat(const std::function<bool()>& step, const std::function<std::uint32_t()>& pauseMs,
            const OnSuspension& onSuspension) {
    StopWatch& stops = TheStopWatch();  // takes the signals before any thread of the watches begins
    if (onSuspension) Thread_t("SuspendWatch").Start(TheSuspensionWatch(onSuspension));
    Thread_t("SignalWatch").Start(stops);
    while (!LumPalRuntime::IsStopping() && step()) {
        if (LumPalRuntime::WaitForStopping(pauseMs())) return;
    }
}

}  // namespace lumcluster
