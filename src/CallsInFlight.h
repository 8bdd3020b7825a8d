/// @file
/// Counts the calls of an RPC handler, so that it outlives them.
#pragma once

#include <cstdint>

#include "LumPalThread.h"
#include "LumVoxRpc.h"

namespace LumConf {

/// Base of the handlers: a counter of calls in flight. Each handler's destructor first waits for them. Any thread.
class CallsInFlight : public LumVoxRpc::RpcServerHandler {
public:
    void CallStarted() override;
    void CallFinished() override;

protected:
    /// Waits once when calls are in flight, and goes on whether they have ended or not.
    void WaitForCalls(std::uint32_t patienceMs = 1000);
    /// Waits until no call is in flight, however long that takes; looks anew after each step.
    void WaitForAllCalls(std::uint32_t stepMs = 1000);

private:
    LumPalThread::Mutex_t mutex;
    int calls LUMPAL_GUARDED_BY(mutex) = 0;
    LumPalThread::CondVar_t ended;
};

}  // namespace LumConf
