/// @file
/// What a thread of the daemon sleeps on.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace lumconfd {

/// Rung by any thread, heard by one. Rings that come before one is heard count as one.
class Bell {
public:
    enum class Heard { Ring, TimeOver, Stop };

    void Ring();
    /// From now on a pause ends at once, and a wait as soon as no ring is left.
    void Stop();
    bool IsStopped() const;
    /// Waits for the next ring; one that came before is heard at once.
    /// @return Ring or Stop
    Heard Wait();
    /// The same for a limited time.
    Heard Wait(std::chrono::milliseconds time);
    /// Lets time pass, whether it rings or not, until it is stopped.
    void Pause(std::chrono::milliseconds time);

private:
    Heard HearLocked();

    mutable std::mutex mutex;
    std::condition_variable changed;
    bool rung = false, stopped = false;  ///< guarded by mutex
};

}  // namespace lumconfd
