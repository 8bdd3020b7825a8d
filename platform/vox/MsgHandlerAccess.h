/// @file
/// What passes between a messenger and the handlers of its messages.
#pragma once

#include <memory>
#include <string>

#include "Blocks.h"
#include "LumVoxMsg.h"

namespace LumVoxMsg {

/// A message that has arrived. Its body may be consumed by whoever reads it.
struct MsgHandler::Request {
    std::string sender;  ///< UTF-8; empty for a caller that proved nothing
    std::shared_ptr<Blocks> body;
    bool isNode = false;  ///< the sender proved to be this node itself
};

struct MsgHandler::Response {
    unsigned status = 200;
    std::string contentType;
    std::shared_ptr<Blocks> body;
};

/// Names and calls what only the layer itself may.
struct MsgHandler::Access {
    using Request = MsgHandler::Request;
    using Response = MsgHandler::Response;
    static LumPalStr::String_t BasePath(const MsgHandler& handler) { return handler.BasePath(); }
    static void Handle(MsgHandler& handler, const Request& request, Response& response) {
        handler.Handle(request, response);
    }
    static bool Describe(const MsgHandler& handler, const LumPalStr::String_t& address, Response& response) {
        return handler.Describe(address, response);
    }
};

/// Media type of every SOAP answer.
inline constexpr const char* kSoapContentType = "text/xml; charset=utf-8";
/// Makes a response a fault (HTTP status 500, as SOAP 1.1 over HTTP demands).
void SetFault(MsgHandler::Access::Response& response, const char* code, const LumPalStr::String_t& text);

}  // namespace LumVoxMsg
