/// @file
/// What a policy handler answers, and how exceptions become it.
#pragma once

#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "LumVoxRpc.h"
#include "Messages.h"
#include "ReturnValue.h"

namespace LumConf {

/// Return value and return text of one call; value 0 until the outcome is known.
struct RpcAnswer {
    ReturnValue value{};
    LumPalStr::String_t text;

    /// A message of the handler itself.
    void Set(ReturnValue outcome, const LumPalMsg::Message_t& message);
    /// What an operation raised.
    void Set(ReturnValue outcome, const LumPalMsg::Exception_t& cause);
    /// A failure without a value of its own: the message, with the cause in its details, also goes to the log (see
    /// LogFailureOf).
    void SetFailure(const LumPalStr::String_t& sender, const LumPalMsg::Message_t& message);
};

/// Writes what went wrong with a sender's call to the application log: of callers without an id one message in ten
/// seconds, with a count of the others since the last. Any thread.
void LogFailureOf(const LumPalStr::String_t& sender, const LumPalMsg::Message_t& message);

/// The start of a call: traces the row's message about the sender, and whether the transport has identified it.
/// Nothing is decided by that: rights are.
/// @return the sender's id
LumPalStr::String_t StartCall(const LumVoxRpc::RpcServerCall& call, const MessageOf<1>& row);

/// Sends value and text under these names, and what follows them, if anything.
void SendAnswer(LumVoxRpc::RpcServerCall& call, const RpcAnswer& answer, const char* valueName, const char* textName,
                LumVoxSoap::SOAPArg* third = nullptr);

}  // namespace LumConf
