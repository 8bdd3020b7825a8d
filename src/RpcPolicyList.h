/// @file
/// Serves "list".
#pragma once

#include "Authorization.h"
#include "CallsInFlight.h"
#include "RpcAnswer.h"

namespace LumConf {

class AuditLog;
class PolicyContainerSoapArg;
class PolicyOperation;
class SelectionSoapArg;

/// Lists the selected policies. The caller always gets an answer with a list, be it empty; calls may run on
/// several threads.
class RpcPolicyList final : public CallsInFlight {
public:
    RpcPolicyList();
    ~RpcPolicyList() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer);
    /// @throws what CheckRequest throws for a malformed request, which leaves no audit line
    void Refuse(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);

    PolicyOperation* operation;
    Authorization* authorization;
    AuditLog* auditLog;
};

}  // namespace LumConf
