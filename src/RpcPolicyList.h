/// @file
/// Serves "list".
#pragma once

#include "RpcShell.h"

namespace LumConf {

class PolicyContainerSoapArg;
class SelectionSoapArg;

/// Lists the selected policies. The caller always gets an answer with a list, be it empty; calls may run on
/// several threads.
class RpcPolicyList final : public RpcShell {
public:
    RpcPolicyList();
    ~RpcPolicyList() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer);
    void Refuse(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);
};

}  // namespace LumConf
