#include "lumconfd/TrustReload.h"

#include "LumPalIo.h"
#include "LumPalLog.h"
#include "common/TrustReload.h"

namespace lumconfd {

using LumPalStr::String_t;

namespace {

/// How soon the end that was asked for is seen.
constexpr std::uint32_t kWaitMs = 300;
constexpr std::uint32_t kPauseMs = 1000;

const String_t kEvents[] = {lumtools::kReloadEvent};

}  // namespace

TrustReload::TrustReload(std::function<void()> reload) : reload(std::move(reload)), thread("TrustReload") {
    Register();
    thread.Start(*this);
}

void TrustReload::Register() {
    component.reset();  // so that its name is free
    component = std::make_unique<LumCtrl::Component>(lumtools::kReloadComponent, kEvents, 1);
}

TrustReload::~TrustReload() {
    Stop();
    thread.Join();
}

void TrustReload::Run(const LumPalThread::Thread_t&) {
    while (!stopping) {
        try {
            if (!component) Register();
            Listen();
        } catch (const std::exception& e) {
            // The service may have stopped before this thread has seen that it shall. Else it let the component go, or
            // there was no memory for it.
            if (stopping) return;
            component.reset();
            LumPalLog::LogGuarded([&] {
                return LumPalMsg::CreateError_t("Changed keys and rights cannot be taken up for a moment: %1")
                       << String_t::FromUtf8(e.what());
            });
            LumPalThread::Thread_t::Sleep(kPauseMs);
        }
    }
}

void TrustReload::Listen() {
    String_t event, value;
    while (!stopping) {
        if (!component->Next(event, value, kWaitMs)) continue;
        reload();
        component->Acknowledge();
    }
}

}  // namespace lumconfd
