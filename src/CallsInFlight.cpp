#include "CallsInFlight.h"

#include "Trace.h"

namespace LumConf {

using LumPalThread::MutexLock_t;

void CallsInFlight::CallStarted() {
    MutexLock_t lock(mutex);
    ++calls;
}

void CallsInFlight::CallFinished() {
    MutexLock_t lock(mutex);
    if (--calls == 0) ended.Signal();
}

void CallsInFlight::WaitForCalls(std::uint32_t patienceMs) {
    MutexLock_t lock(mutex);
    if (calls == 0) return;
    LUMCONF_TRACE(trace::Message, "the end of a handler waits for its calls in flight");
    ended.Wait(mutex, patienceMs);
}

void CallsInFlight::WaitForAllCalls(std::uint32_t stepMs) {
    MutexLock_t lock(mutex);
    while (calls != 0) {
        LUMCONF_TRACE(trace::Message, "the end of a handler waits until its calls have ended");
        ended.Wait(mutex, stepMs);
    }
}

}  // namespace LumConf
