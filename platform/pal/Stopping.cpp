// Whether the process ends, of LumPalDaemon.h.
#include <atomic>
#include <chrono>
#include <condition_variable>

#include "LumPalDaemon.h"
#include "LumPalPlainMutex.h"

namespace LumPalRuntime {

namespace {

std::atomic<bool> stopping{false};

struct Sleepers {
    LumPalThread::PlainMutex_t mutex;  // unmarked: it orders the sleeping and the waking; the value is an atomic
    std::condition_variable woken;
};

Sleepers& TheSleepers() {
    static Sleepers& sleepers = *new Sleepers;  // never destroyed: threads may sleep on it to the end
    return sleepers;
}

}  // namespace

void SetStopping(bool value) noexcept {
    // Under the mutex, so that nobody looks before and falls asleep behind it.
    const LumPalThread::PlainLock_t lock(TheSleepers().mutex);
    stopping = value;
    TheSleepers().woken.notify_all();
}

bool IsStopping() noexcept {
    return stopping;
}

bool WaitForStopping(std::uint32_t milliseconds) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    LumPalThread::PlainLock_t lock(TheSleepers().mutex);
    while (!stopping && TheSleepers().woken.wait_until(lock.ForWait(), until) != std::cv_status::timeout) continue;
    return stopping;
}

}  // namespace LumPalRuntime
