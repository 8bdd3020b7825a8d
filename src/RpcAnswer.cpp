#include "RpcAnswer.h"

#include "LumPalLog.h"
#include "LumPalPlainMutex.h"
#include "Names.h"
#include "StrangersLog.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {
constexpr unsigned kMessageFormat = LumPalMsg::Text | LumPalMsg::Details;
constexpr unsigned kExceptionFormat = kMessageFormat | LumPalMsg::Label;

/// Whether a stranger's failure is written now.
/// @param counted  out: how many were not since the last
bool TakeStrangersLine(unsigned& counted) {
    struct Lines {
        LumPalThread::PlainMutex_t mutex;
        LineShare share LUMPAL_GUARDED_BY(mutex){1, StrangersLog::kWhile};
    };
    static Lines& lines = *new Lines;  // never destroyed: calls may outlive statics
    const LumPalThread::PlainLock_t lock(lines.mutex);
    const LineShare::Clock::time_point now = LineShare::Clock::now();
    counted = lines.share.TakeCount(now);
    return lines.share.Take(now);
}

}  // namespace

void RpcAnswer::Set(ReturnValue outcome, const LumPalMsg::Message_t& message) {
    value = outcome;
    text = message.Format(kMessageFormat);
}

void RpcAnswer::Set(ReturnValue outcome, const LumPalMsg::Exception_t& cause) {
    value = outcome;
    text = cause.GetMessageList().Format(kExceptionFormat);
}

void RpcAnswer::SetFailure(const String_t& sender, const LumPalMsg::Message_t& message) {
    Set(ReturnValue::OtherFailure, message);
    LogFailureOf(sender, message);
}

void LogFailureOf(const String_t& sender, const LumPalMsg::Message_t& message) {
    if (sender.IsNotEmpty()) return LumPalLog::Log(message);
    unsigned counted = 0;
    if (!TakeStrangersLine(counted)) return;
    LumPalMsg::MessageList_t messages(message);
    if (counted > 0) messages.Add(Make(msg::StrangersMoreFailures, counted));
    LumPalLog::Log(messages);
}

String_t StartCall(const LumVoxRpc::RpcServerCall& call, const MessageOf<1>& row) {
    const String_t sender = String_t::FromUtf8(call.GetOriginatorID());
    LUMCONF_TRACE(trace::Policy, Make(row, sender));
    LUMCONF_TRACE(trace::Policy, call.Authenticated() ? "the sender is authenticated" : "the sender proved nothing");
    return sender;
}

void SendAnswer(LumVoxRpc::RpcServerCall& call, const RpcAnswer& answer, const char* valueName, const char* textName,
                LumVoxSoap::SOAPArg* third) {
    call.CountAs(static_cast<int>(answer.value));
    LumVoxSoap::SOAPArgInt value(valueName, static_cast<int>(answer.value));
    value.SetTypeAttribute();
    LumVoxSoap::SOAPArgUnicodeString text(textName, answer.text);
    text.SetTypeAttribute();
    LumVoxSoap::SOAPArg* const arguments[] = {&value, &text, third};
    LumVoxRpc::RpcServerResponse response = call.CreateResponse();
    response.SetArgs(third ? 3 : 2, arguments);
    response.SendResponse(names::Utf8);
}

}  // namespace LumConf
