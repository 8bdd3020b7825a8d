/// @file
/// One request under way on the server's side.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "LumVoxRpc.h"
#include "MsgHandlerAccess.h"

namespace LumVoxRpc {

/// Used by the one thread that serves the call.
struct RpcServerCall::Impl {
    std::string sender;
    bool isNode = false;
    LumPalStr::String_t method;
    std::shared_ptr<LumVoxMsg::Blocks> body;  ///< null once it was read
    LumVoxMsg::MsgHandler::Access::Response response;
    bool sent = false;
    std::optional<int> value;  ///< what it came to, if it came to a value
};

struct RpcServerResponse::Impl {
    std::shared_ptr<RpcServerCall::Impl> call;
};

/// Writes an envelope as the call's answer. @throws what writing throws; nothing is sent then
void SendEnvelope(RpcServerCall::Impl& call, const LumVoxSoap::SOAPEnvelope& envelope);

}  // namespace LumVoxRpc
