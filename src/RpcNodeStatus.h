/// @file
/// Serves "nodeStatus".
#pragma once

#include <functional>

#include "NodeStatus.h"
#include "RpcShell.h"

namespace LumConf {

/// Tells how the node fares to who may list its policies. No lock of the policy operations is taken, so that a node
/// that is busy, or waits for a consumer, answers at once. Calls may run on several threads.
class RpcNodeStatus final : public RpcShell {
public:
    using Source = std::function<NodeStatus()>;

    /// @param source  any thread
    explicit RpcNodeStatus(Source source);
    ~RpcNodeStatus() override;
    void Process(LumVoxRpc::RpcServerCall& call) override;

private:
    const Source source;
};

}  // namespace LumConf
