/// @file
/// Serves "install".
#pragma once

#include "LumPalIo.h"
#include "RpcShell.h"

namespace LumConf {

class InstallOptions;

/// Installs a policy or a package that a caller sends. Constructing it brings the policy side up.
/// The caller always gets an answer; calls may run on several threads.
class RpcPolicyInstall final : public RpcShell {
public:
    RpcPolicyInstall();
    ~RpcPolicyInstall() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer);
    void Install(Request& request, RpcAnswer& answer);
    void Refuse(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);

    LumPalIo::File_t incomingDirectory;
};

}  // namespace LumConf
