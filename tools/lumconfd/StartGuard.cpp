#include "lumconfd/StartGuard.h"

#include <cstdlib>
#include <iostream>

namespace lumconfd {

namespace {

constexpr std::chrono::milliseconds kPause(50);

}  // namespace

StartGuard::StartGuard(const LumPalRuntime::Signals_t& signals) : signals(signals), thread("StartGuard") {
    thread.Start(*this);
}

StartGuard::~StartGuard() {
    bell.Stop();
    thread.Join();
}

void StartGuard::Run(const LumPalThread::Thread_t&) {
    while (bell.Wait(kPause) != Bell::Heard::Stop) {
        if (!signals.IsStopPending()) continue;
        LumPalRuntime::NotifyServiceManager("STOPPING=1");
        std::cerr << "lumconfd: told to stop before it served" << std::endl;
        std::_Exit(EXIT_SUCCESS);
    }
}

}  // namespace lumconfd
