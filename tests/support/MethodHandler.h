/// @file
/// A function as the handler of a method, for simulated nodes.
#pragma once

#include <functional>
#include <utility>

#include "LumVoxRpc.h"

class MethodHandler : public LumVoxRpc::RpcServerHandler {
public:
    explicit MethodHandler(std::function<void(LumVoxRpc::RpcServerCall&)> serve) : serve(std::move(serve)) {}
    void Process(LumVoxRpc::RpcServerCall& call) override { serve(call); }
    void CallStarted() override {}
    void CallFinished() override {}

private:
    std::function<void(LumVoxRpc::RpcServerCall&)> serve;
};
