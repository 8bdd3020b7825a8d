#include "lumconfd/TrustReload.h"

#include "LumPalIo.h"
#include "common/TrustReload.h"

namespace lumconfd {

using LumPalStr::String_t;

namespace {

/// How soon the end that was asked for is seen.
constexpr std::uint32_t kWaitMs = 300;
constexpr std::chrono::milliseconds kPause(1000);

const String_t kEvents[] = {lumtools::kReloadEvent};

}  // namespace

TrustReload::TrustReload(std::function<void()> reload)
    : reload(std::move(reload)),
      thread("TrustReload", {"Changed keys and rights cannot be taken up for a moment: %1", kPause},
             [this](const LumPalThread::Bell_t& bell) { return Listen(bell); }) {
    Register();
    thread.Start();
}

void TrustReload::Register() {
    component.reset();  // so that its name is free
    component = std::make_unique<LumCtrl::Component>(lumtools::kReloadComponent, kEvents, 1);
}

std::chrono::milliseconds TrustReload::Listen(const LumPalThread::Bell_t& bell) try {
    if (!component) Register();
    TakeUpNext();
    return std::chrono::milliseconds(0);
} catch (const std::exception&) {
    // The service may have stopped before this thread has seen that it shall. Else it let the component go, or there
    // was no memory for it.
    if (bell.IsStopped()) return std::chrono::milliseconds(0);
    component.reset();
    throw;
}

void TrustReload::TakeUpNext() {
    String_t event, value;
    if (!component->Next(event, value, kWaitMs)) return;
    reload();
    component->Acknowledge();
}

}  // namespace lumconfd
