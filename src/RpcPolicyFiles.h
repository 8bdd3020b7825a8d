/// @file
/// Serves "policyFiles".
#pragma once

#include "RpcShell.h"

namespace LumConf {

/// Tells the documents of the selected policies, and of their data files the digests or the contents. Calls may run on
/// several threads; each policy is read while no operation changes it.
class RpcPolicyFiles final : public RpcShell {
public:
    RpcPolicyFiles();
    ~RpcPolicyFiles() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer);
    void Refuse(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);
};

}  // namespace LumConf
