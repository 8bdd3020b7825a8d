#include "lumconfd/StartGuard.h"

#include <cstdlib>

#include "common/Said.h"

namespace lumconfd {

namespace {

constexpr std::chrono::milliseconds kPause(50);

void EndIfStopPending(const LumPalRuntime::Signals_t& signals) {
    if (!signals.IsStopPending()) return;
    LumPalRuntime::NotifyServiceManager("STOPPING=1");
    lumtools::Say(LumPalConsole::Priority::Info, "told to stop before it served");
    std::_Exit(EXIT_SUCCESS);
}

}  // namespace

StartGuard::StartGuard(const LumPalRuntime::Signals_t& signals)
    : thread("StartGuard", {"Signals to stop are not seen for a moment: %1", kPause},
             [&signals](LumPalThread::Bell_t&) {
                 EndIfStopPending(signals);
                 return kPause;
             }) {
    thread.Start();
}

}  // namespace lumconfd
