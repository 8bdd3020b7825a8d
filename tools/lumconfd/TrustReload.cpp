#include "lumconfd/TrustReload.h"

#include "LumPalIo.h"
#include "LumPalLog.h"
#include "common/TrustReload.h"

namespace lumconfd {

using LumPalStr::String_t;

namespace {

/// How soon the end that was asked for is seen.
constexpr std::uint32_t kWaitMs = 300;

const String_t kEvents[] = {lumtools::kReloadEvent};

}  // namespace

TrustReload::TrustReload(std::function<void()> reload)
    : reload(std::move(reload)), component(lumtools::kReloadComponent, kEvents, 1), thread("TrustReload") {
    thread.Start(*this);
}

TrustReload::~TrustReload() {
    Stop();
    thread.Join();
}

void TrustReload::Run(const LumPalThread::Thread_t&) {
    String_t event, value;
    try {
        while (!stopping) {
            if (!component.Next(event, value, kWaitMs)) continue;
            reload();
            component.Acknowledge();
        }
    } catch (const LumPalMsg::Exception_t& e) {
        // The service stops before this thread has seen that it shall, too.
        if (!stopping) LumPalLog::Log(e.GetMessageList());
    }
}

}  // namespace lumconfd
