/// @file
/// Serves "policyOp".
#pragma once

#include "Authorization.h"
#include "CallsInFlight.h"
#include "RpcAnswer.h"

namespace LumConf {

class AuditLog;
class PolicyOperation;

/// Does one operation on the selected policies; which one is a row of one table. The caller always gets an answer;
/// calls may run on several threads.
class RpcPolicyOp final : public CallsInFlight {
public:
    RpcPolicyOp();
    ~RpcPolicyOp() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    struct Mode;
    static const Mode modes[];
    static const Mode* FindMode(int number);
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer);
    /// Whether the sender is allowed what the request asks for; false for no operation. A refusal is audited.
    /// @throws what CheckRequest throws for a malformed request, which leaves no audit line
    bool MayAsk(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);
    void RepairRemove(const Request& request, RpcAnswer& answer);

    PolicyOperation* operation;
    Authorization* authorization;
    AuditLog* auditLog;
};

}  // namespace LumConf
