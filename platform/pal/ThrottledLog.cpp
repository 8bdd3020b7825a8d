#include "ThrottledLog.h"

#include <string>
#include <utility>

#include "LumPalLog.h"

namespace LumPalLog {

void ThrottledLog::Warn(const char* text, const LumPalStr::String_t& detail) {
    LumPalMsg::CreateWarn_t message{LumPalStr::String_t(text)};
    message << detail;
    {
        const LumPalThread::PlainLock_t lock(mutex);
        const auto now = std::chrono::steady_clock::now();
        if (now < next) {
            ++suppressed;
            return;
        }
        lastText = text;
        next = now + std::chrono::seconds(10);
        if (suppressed > 0)
            message.AddDetails(LumPalMsg::CreateMessage_t("%1 more of this kind were not written.") << suppressed);
        suppressed = 0;
    }
    Log(LumPalMsg::Message_t(message));
}

void ThrottledLog::LogRestAt(std::chrono::steady_clock::time_point now) noexcept {
    unsigned count = 0;
    const char* text = "";
    {
        const LumPalThread::PlainLock_t lock(mutex);
        if (suppressed == 0 || now < next) return;
        count = std::exchange(suppressed, 0u);
        text = lastText;
    }
    LogGuarded([&] {
        return LumPalMsg::CreateWarn_t(text)
               << LumPalStr::String_t::FromUtf8(std::to_string(count) + " more of this kind since the last line.");
    });
}

void ThrottledLog::WarnGuarded(const char* text, const char* detail) noexcept {
    try {
        Warn(text, LumPalStr::String_t::FromUtf8(detail));
    } catch (...) {
        ReportLostLine();
    }
}

}  // namespace LumPalLog
