#include "ThrottledLog.h"

#include "LumPalLog.h"

namespace LumVoxMsg {

void ThrottledLog::Warn(const char* text, const LumPalStr::String_t& detail) {
    LumPalMsg::CreateWarn_t message{LumPalStr::String_t(text)};
    message << detail;
    {
        const std::lock_guard lock(mutex);
        const auto now = std::chrono::steady_clock::now();
        if (now < next) {
            ++suppressed;
            return;
        }
        next = now + std::chrono::seconds(10);
        if (suppressed > 0)
            message.AddDetails(LumPalMsg::CreateMessage_t("%1 more of this kind were not written.") << suppressed);
        suppressed = 0;
    }
    LumPalLog::Log(LumPalMsg::Message_t(message));
}

}  // namespace LumVoxMsg
