/// @file
/// Serves "policyOp".
#pragma once

#include "RpcShell.h"

namespace LumConf {

/// Does one operation on the selected policies; which one is a row of one table. The caller always gets an answer;
/// calls may run on several threads.
class RpcPolicyOp final : public RpcShell {
public:
    RpcPolicyOp();
    ~RpcPolicyOp() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    struct Mode;
    static const Mode modes[];
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer);
    /// Whether the sender is allowed what the request asks for; false for no operation. A refusal is audited.
    bool MayAsk(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);
    void RepairRemove(const Request& request, const LumPalMsg::MessageList_t& failure, RpcAnswer& answer);
};

}  // namespace LumConf
