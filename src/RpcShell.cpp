#include "RpcShell.h"

#include "AuditLog.h"
#include "Authorization.h"

namespace LumConf {

using LumPalStr::String_t;

RpcShell::RpcShell(PolicyOperation* operation)
    : operation(operation), authorization(&Authorization::GetInstance()), auditLog(&AuditLog::GetInstance()) {}

bool RpcShell::SetOwnValue(const Words& words, const LumPalMsg::Exception_t& e, RpcAnswer& answer) {
    for (const OwnValue& row : words.ownValues) {
        if (!row.is(e)) continue;
        answer.Set(row.value, e);
        return true;
    }
    return false;
}

void RpcShell::SetNotAuthorized(const Words& words, const Call& request, RpcAnswer& answer) {
    answer.Set(ReturnValue::NotAuthorized, Make(words.notAuthorized, request.sender));
}

void RpcShell::CheckOnly(const LumVoxRpc::RpcServerCall& call, std::initializer_list<LumVoxSoap::SOAPArg*> arguments) {
    call.CheckRequest(static_cast<int>(arguments.size()), arguments.begin());
}

void RpcShell::AuditRefusal(const trace::Component& traced, const String_t& sender, const char* operation) {
    LUM_TRACE(traced.steps, String_t(operation) + " is refused to '" + sender + "'");
    auditLog->LogAuthorizationError(sender, operation);
}

}  // namespace LumConf
