// RpcServerCall and its response, of LumVoxRpc.h.
#include "FreedMemory.h"
#include "LumSecAuth.h"
#include "LumVoxRpc.h"
#include "RpcServerCallImpl.h"

namespace LumVoxRpc {

using LumPalMsg::CreateError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;

namespace {

/// From so many bytes on it is worth a pass over the heap to have the body's memory back before the work begins.
constexpr std::size_t kLargeRequest = 8u << 20;

void RequireArrived(int count, SOAPArg* const* arguments) {
    for (int i = 0; i < count; ++i)
        if (!arguments[i]->HasArrived() && !arguments[i]->IsOptional())
            throw LumVoxSoap::SOAPFormatException(CreateError_t("The request lacks the argument '%1'.")
                                                  << arguments[i]->GetName());
}

void RequireUnread(const std::shared_ptr<LumVoxMsg::Blocks>& body) {
    if (!body) throw IllegalStateError_t(CreateError_t("The request of a call is read once."));
}

void RequireUtf8(const char* encoding) {
    if (LumPalStr::Compare(String_t(encoding), String_t("UTF-8"), true) == 0) return;
    throw LumPalMsg::IllegalArgumentError_t(CreateError_t("Messages travel in UTF-8, not in '%1'.") << encoding);
}

}  // namespace

void SendEnvelope(RpcServerCall::Impl& call, const LumVoxSoap::SOAPEnvelope& envelope) {
    if (call.sent) throw IllegalStateError_t(CreateError_t("The response to a call is sent once."));
    auto body = std::make_shared<LumVoxMsg::Blocks>();
    LumPalIo::OutputStream_t stream = LumVoxMsg::WriteBlocks(body);
    envelope.WriteCleaned(stream);
    call.response = {200, LumVoxMsg::kSoapContentType, std::move(body)};
    call.sent = true;
}

RpcServerCall::RpcServerCall(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}

const char* RpcServerCall::GetOriginatorID() const {
    return impl->sender.c_str();
}

const char* RpcServerCall::GetRightsID() const {
    return impl->isNode ? LumSecAuth::LocalAdministrator() : GetOriginatorID();
}

bool RpcServerCall::Authenticated() const {
    return !impl->sender.empty();
}

void RpcServerCall::ReadRequest(int count, SOAPArg* const* arguments) {
    const std::shared_ptr<LumVoxMsg::Blocks> body = std::move(impl->body);
    RequireUnread(body);
    const bool large = body->GetSize() > kLargeRequest;
    try {
        LumVoxSoap::SOAPEnvelope().Read(ReadBlocks(body, LumVoxMsg::AfterRead::Free), count, arguments);
    } catch (...) {
        body->Clear();
        throw;
    }
    body->Clear();
    if (large) ReturnFreedMemory();
    RequireArrived(count, arguments);
}

void RpcServerCall::CheckRequest(int count, SOAPArg* const* arguments) const {
    RequireUnread(impl->body);
    LumVoxSoap::SOAPEnvelope().Read(ReadBlocks(impl->body, LumVoxMsg::AfterRead::Keep), count, arguments);
    RequireArrived(count, arguments);
}

RpcServerResponse RpcServerCall::CreateResponse() {
    RpcServerResponse response(std::make_shared<RpcServerResponse::Impl>(RpcServerResponse::Impl{impl}));
    response.SetMethod(impl->method + "Response");
    return response;
}

void RpcServerCall::CountAs(int value) {
    impl->value = value;
}

RpcServerResponse::RpcServerResponse(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}

void RpcServerResponse::SendResponse(const char* encoding) {
    RequireUtf8(encoding);
    SendEnvelope(*impl->call, *this);
}

}  // namespace LumVoxRpc
