#include "LostLines.h"

#include <string>

#include "LocalTime.h"

namespace LumPalLog {

using LumPalMsg::Message_t;
using LumPalMsg::MessageList_t;

namespace {

// A disk that fails in ever new ways must not fill the line that tells it.
constexpr int kMostReasons = 3;

bool Holds(const MessageList_t& list, const Message_t& message) {
    for (int i = 0; i < list.GetMessageCount(); ++i) {
        if (list.GetMessage(i).GetMessageText() == message.GetMessageText()) return true;
    }
    return false;
}

}  // namespace

void LostLines::Add(Moment moment, const MessageList_t& reason) {
    if (count++ == 0) since = moment;
    for (int i = 0; i < reason.GetMessageCount() && reasons.GetMessageCount() < kMostReasons; ++i) {
        if (!Holds(reasons, reason.GetMessage(i))) reasons.Add(reason.GetMessage(i));
    }
}

Message_t LostLines::Notice() const {
    LumPalMsg::CreateError_t notice(LumPalStr::String_t("%1 line(s) of this log were lost since %2."));
    notice << std::to_string(count).c_str() << LumPal::LocalTimeText(since).c_str();
    notice.AddDetails(reasons);
    return notice;
}

}  // namespace LumPalLog
