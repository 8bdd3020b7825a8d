// Component of LumCtrl.h: receiving them.
#include "LocalSocket.h"
#include "LumCtrl.h"
#include "LumPalIo.h"

namespace LumCtrl {
namespace {

using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

LumPalIo::IOException_t Refusal(const String_t& name, const String_t& reason) {
    return LumPalIo::IOException_t(CreateError_t("The component '%1' cannot be registered: %2.") << name << reason);
}

}  // namespace

struct Component::Impl {
    Descriptor socket;
    FrameBuffer buffer;
    std::uint32_t delivery = 0;
    bool owed = false;  ///< an acknowledgement

    WaitResult Wait(std::uint32_t milliseconds, Frame& frame) {
        return WaitForFrame(socket, buffer, milliseconds, frame);
    }
};

Component::Component(const String_t& name, const String_t* events, int count, std::uint32_t milliseconds)
    : impl(std::make_unique<Impl>()) {
    if (count < 1)
        throw LumPalMsg::IllegalArgumentError_t(CreateError_t("A component needs an event to register for."));
    Frame frame{FrameKind::Register, 0, {name.ToUtf8()}};
    for (int i = 0; i < count; ++i) frame.texts.push_back(events[i].ToUtf8());
    impl->socket = ConnectTo(SocketPath());
    SendAll(impl->socket, frame.Encode());
    WaitResult result;
    do result = impl->Wait(milliseconds, frame);
    while (result == WaitResult::Interrupted);
    if (result != WaitResult::Frame) throw Refusal(name, "the control service does not answer");
    const bool done = frame.number == static_cast<std::uint32_t>(ReplyCode::Done);
    if (!done) throw Refusal(name, String_t::FromUtf8(frame.texts[0]));
}

Component::~Component() = default;

bool Component::Next(String_t& event, String_t& value, std::uint32_t milliseconds) {
    Frame frame;
    const WaitResult result = impl->Wait(milliseconds, frame);
    if (result == WaitResult::Ended) {
        throw LumPalIo::EOFException_t(CreateError_t("The control service went away."));
    }
    if (result != WaitResult::Frame) return false;
    if (frame.kind != FrameKind::Delivery) {
        throw LumPalIo::IOException_t(CreateError_t("The control service sent what is no trigger."));
    }
    event = String_t::FromUtf8(frame.texts[0]);
    value = String_t::FromUtf8(frame.texts[1]);
    impl->delivery = frame.number;
    impl->owed = true;
    return true;
}

void Component::Acknowledge() {
    if (!impl->owed) {
        throw LumPalMsg::IllegalStateError_t(CreateError_t("There is no trigger to acknowledge."));
    }
    impl->owed = false;
    SendAll(impl->socket, Frame{FrameKind::Acknowledge, impl->delivery, {}}.Encode());
}

}  // namespace LumCtrl
