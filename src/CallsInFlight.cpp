#include "CallsInFlight.h"

namespace LumConf {

using LumPalThread::MutexLock_t;

namespace {
constexpr std::uint32_t kPatienceMs = 1000;
}

void CallsInFlight::CallStarted() {
    MutexLock_t lock(mutex);
    ++calls;
}

void CallsInFlight::CallFinished() {
    MutexLock_t lock(mutex);
    if (--calls == 0) ended.Signal();
}

void CallsInFlight::WaitForCalls() {
    MutexLock_t lock(mutex);
    if (calls > 0) ended.Wait(mutex, kPatienceMs);
}

}  // namespace LumConf
