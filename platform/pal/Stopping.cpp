// Whether the process ends, of LumPalDaemon.h.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "LumPalDaemon.h"

namespace LumPalRuntime {

namespace {

std::atomic<bool> stopping{false};

/// Never destroyed: threads may sleep on it until the process ends.
struct Sleepers {
    std::mutex mutex;
    std::condition_variable woken;
};

Sleepers& TheSleepers() {
    static Sleepers& sleepers = *new Sleepers;
    return sleepers;
}

}  // namespace

void SetStopping(bool value) noexcept {
    // Under the mutex, so that nobody looks before and falls asleep behind it.
    const std::lock_guard lock(TheSleepers().mutex);
    stopping = value;
    TheSleepers().woken.notify_all();
}

bool IsStopping() noexcept {
    return stopping;
}

bool WaitForStopping(std::uint32_t milliseconds) {
    std::unique_lock lock(TheSleepers().mutex);
    return TheSleepers().woken.wait_for(lock, std::chrono::milliseconds(milliseconds), [] { return stopping.load(); });
}

}  // namespace LumPalRuntime
