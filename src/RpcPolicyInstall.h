/// @file
/// Serves "install".
#pragma once

#include "Authorization.h"
#include "CallsInFlight.h"
#include "LumPalIo.h"
#include "RpcAnswer.h"

namespace LumConf {

class AuditLog;
class InstallOptions;
class PolicyOperation;

/// Installs a policy or a package that a caller sends. Constructing it brings the policy side up.
/// The caller always gets an answer; calls may run on several threads.
class RpcPolicyInstall final : public CallsInFlight {
public:
    RpcPolicyInstall();
    ~RpcPolicyInstall() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    struct Request;
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, RpcAnswer& answer);
    void Install(Request& request, RpcAnswer& answer);
    /// @throws what CheckRequest throws for a malformed request, which leaves no audit line
    void Refuse(const LumVoxRpc::RpcServerCall& call, const LumPalStr::String_t& sender);

    PolicyOperation* operation;
    Authorization* authorization;
    AuditLog* auditLog;
    LumPalIo::File_t incomingDirectory;
};

}  // namespace LumConf
