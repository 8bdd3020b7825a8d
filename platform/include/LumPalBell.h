/// @file
/// What a thread sleeps on, and a thread that makes one step after another.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>

#include "LumPalExport.h"
#include "LumPalPlainMutex.h"
#include "LumPalThread.h"

namespace LumPalThread {

/// Rung by any thread, heard by one. Rings that come before one is heard count as one.
class LUMPAL_API Bell_t {
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
    Heard HearLocked() LUMPAL_REQUIRES(mutex);

    mutable PlainMutex_t mutex;
    std::condition_variable changed;
    bool rung LUMPAL_GUARDED_BY(mutex) = false;
    bool stopped LUMPAL_GUARDED_BY(mutex) = false;
};

/// A thread that makes a step, sleeps on a bell, and makes the next one, until it is stopped. The first step is made at
/// once, unless it was stopped before and did not ring. Who owns it destroys it before what the step uses.
class LUMPAL_API StepThread_t : private Runnable_i {
public:
    /// How long a step lets the thread sleep when it answers this: until the bell rings.
    static constexpr std::chrono::milliseconds kUntilRing = std::chrono::milliseconds::max();
    /// One step; it may look at the bell. @return how long to sleep unless it rings
    using Step = std::function<std::chrono::milliseconds(Bell_t& bell)>;

    /// What comes of a step that throws.
    struct Failure {
        const char* text;                      ///< a line in the application log, with %1 for the reason; a literal
        std::chrono::milliseconds retryAfter;  ///< the next step is made then, or when it rings
    };

    StepThread_t(const char* name, Failure failure, Step step);
    ~StepThread_t() override;
    StepThread_t(const StepThread_t&) = delete;
    StepThread_t& operator=(const StepThread_t&) = delete;

    /// @throws LumPalMsg::RuntimeException_t without room for a thread; LumPalMsg::IllegalStateError_t a second time
    void Start() { thread.Start(*this); }
    /// Has the next step made now, or when the present one is over. Any thread; returns at once.
    void Ring() { bell.Ring(); }
    /// No step begins any more, but for a ring that was not heard yet. Any thread; returns at once.
    void Stop() { bell.Stop(); }
    bool IsStopped() const { return bell.IsStopped(); }
    /// Stops, and waits for the end of the present step; not from a step.
    void Finish();

private:
    void Run(const Thread_t& thread) override;
    std::chrono::milliseconds StepGuarded() noexcept;

    const Failure failure;
    const Step step;
    Bell_t bell;
    Thread_t thread;
};

}  // namespace LumPalThread
