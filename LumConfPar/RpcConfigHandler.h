/// @file
/// Serves "configOp".
#pragma once

#include "Authorization.h"
#include "CallsInFlight.h"
#include "RpcAnswer.h"

namespace LumConf {
class AuditLog;
}

namespace LumConfPar {

/// Reads, sets and clears the node's configuration; which one is a row of one table. The caller always gets an answer
/// with a group, be it empty; calls may run on several threads.
class RpcConfigHandler final : public LumConf::CallsInFlight {
public:
    RpcConfigHandler();
    ~RpcConfigHandler() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    struct Mode;
    static const Mode modes[];
    static const Mode* FindMode(int number);
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, LumConf::RpcAnswer& answer);

    /// Whether the sender is allowed what the request asks for; false for no operation. A refusal is audited.
    /// @throws what CheckRequest throws for a malformed request, which leaves no audit line
    bool MayAsk(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);

    LumConf::Authorization* authorization;
    LumConf::AuditLog* auditLog;
};

}  // namespace LumConfPar
