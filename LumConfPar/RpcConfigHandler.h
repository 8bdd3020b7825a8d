/// @file
/// Serves "configOp".
#pragma once

#include "AuditLog.h"
#include "RpcShell.h"

namespace LumConfPar {

/// Reads, sets and clears the node's configuration; which one is a row of one table. The caller always gets an answer
/// with a group, be it empty; calls may run on several threads.
class RpcConfigHandler final : public LumConf::RpcShell {
public:
    RpcConfigHandler();
    ~RpcConfigHandler() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    struct Mode;
    static const Mode modes[];
    void Audit(const Request& request, LumConf::AuditLog::Outcome outcome);
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, LumConf::RpcAnswer& answer);

    /// Whether the sender is allowed what the request asks for; false for no operation. A refusal is audited.
    bool MayAsk(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);
};

}  // namespace LumConfPar
