#include "LostBytes.h"

#include "LumPalLog.h"
#include "LumPalMsg.h"

namespace LumPalIo {
namespace {

void LogLost(const char* what, const LumPalMsg::MessageList_t& reason) {
    LumPalMsg::CreateError_t message(
        "A stream went without being closed, and the end of what was written (%1) is lost.");
    message << what;
    message.AddDetails(reason);
    LumPalLog::Log(LumPalMsg::MessageList_t(message));
}

}  // namespace

void LogWhatIsLost(const char* what, const std::function<void()>& lastStep) noexcept {
    try {
        try {
            lastStep();
        } catch (const LumPalMsg::Exception_t& e) {
            LogLost(what, e.GetMessageList());
        } catch (const std::exception& e) {
            LogLost(what, LumPalMsg::CreateError_t(LumPalStr::String_t::FromUtf8(e.what())));
        }
    } catch (...) {
        // Not even the log has room: nowhere is left where it could be said.
    }
}

}  // namespace LumPalIo
