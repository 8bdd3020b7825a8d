// Control of LumCtrl.h: sending triggers.
#include <algorithm>

#include "LocalSocket.h"
#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalKeys.h"
#include "Notify.h"

namespace LumCtrl {
namespace {

using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

constexpr int kStandardSeconds = 30, kMostSeconds = 3600;
/// How much longer than the service itself a program waits for the service.
constexpr std::uint32_t kGraceMs = 10000;

void CheckNode(const String_t& targetId) {
    if (targetId.IsEmpty()) return;
    const String_t own = LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey);
    if (own.IsEmpty() || own == targetId) return;
    throw TargetException(CreateError_t("The node '%1' is not this one.") << targetId);
}

Frame Ask(const Frame& question, std::uint32_t patienceMs) {
    const std::string bytes = question.Encode();
    if (bytes.size() > FrameBuffer::kLongestFrame) throw ControlException(CreateError_t("The trigger is too long."));
    const Descriptor socket = ConnectTo(SocketPath());
    SendAll(socket, bytes);
    FrameBuffer buffer;
    Frame answer;
    for (;;) {
        switch (WaitForFrame(socket, buffer, patienceMs, answer)) {
            case WaitResult::Frame:
                return answer;
            case WaitResult::Interrupted:
                continue;
            case WaitResult::TimeOut:
                throw ControlException(CreateError_t("The control service does not answer."));
            case WaitResult::Ended:
                throw ControlException(CreateError_t("The control service went away before it answered."));
        }
    }
}

void Judge(const Frame& answer) {
    const String_t text = answer.texts.empty() ? String_t() : String_t::FromUtf8(answer.texts[0]);
    switch (static_cast<ReplyCode>(answer.number)) {
        case ReplyCode::Done:
            return;
        case ReplyCode::NoTarget:
            throw TargetException(CreateError_t("No component '%1' is registered.") << text);
        case ReplyCode::NoEvent:
            throw EventException(CreateError_t("No component is registered for the event '%1'.") << text);
        case ReplyCode::Unacknowledged:
            throw ControlException(CreateError_t("The trigger was not acknowledged: %1.") << text);
        case ReplyCode::Refused:
            break;
    }
    throw ControlException(CreateError_t("The control service refused the trigger: %1.") << text);
}

}  // namespace

std::uint32_t AcknowledgeLimitMs() {
    const int seconds =
        LumPalConfig::ConfigNamespace_t(LumPalKeys::NsConfCore).Open().GetInt(LumPalKeys::ControlAckTimeoutKey);
    return 1000u * static_cast<std::uint32_t>(seconds > 0 ? std::min(seconds, kMostSeconds) : kStandardSeconds);
}

void NotifyWithin(const String_t& event, const String_t& value, const String_t& target, const Control::Options& options,
                  std::uint32_t milliseconds) {
    CheckNode(options.targetId);
    const std::uint32_t limitMs = options.asynchronous ? 0 : std::max(milliseconds, 1u);
    const std::uint32_t patienceMs = options.timeout > 0 ? options.timeout : limitMs + kGraceMs;
    Judge(Ask(Frame{FrameKind::Trigger, limitMs, {event.ToUtf8(), value.ToUtf8(), target.ToUtf8()}}, patienceMs));
}

void Control::Notify(const String_t& event, const String_t& value, const String_t& target, const Options& options) {
    const bool isLimited = options.asynchronous || options.timeout > 0;
    NotifyWithin(event, value, target, options, isLimited ? options.timeout : AcknowledgeLimitMs());
}

}  // namespace LumCtrl
