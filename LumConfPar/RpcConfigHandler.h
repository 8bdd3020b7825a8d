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
    void Audit(const Request& request, int kind, bool success);
    void Serve(LumVoxRpc::RpcServerCall& call, Request& request, LumConf::RpcAnswer& answer);

    LumConf::Authorization* authorization;
    LumConf::AuditLog* auditLog;
};

}  // namespace LumConfPar
