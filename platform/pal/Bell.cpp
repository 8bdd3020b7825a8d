// Bell_t and StepThread_t of LumPalBell.h.
#include "LumPalBell.h"

#include "LumPalLog.h"
#include "LumPalMsg.h"

namespace LumPalThread {

void Bell_t::Ring() {
    const PlainLock_t lock(mutex);
    rung = true;
    changed.notify_all();
}

void Bell_t::Stop() {
    const PlainLock_t lock(mutex);
    stopped = true;
    changed.notify_all();
}

bool Bell_t::IsStopped() const {
    const PlainLock_t lock(mutex);
    return stopped;
}

Bell_t::Heard Bell_t::HearLocked() {
    if (!rung) return stopped ? Heard::Stop : Heard::TimeOver;
    rung = false;
    return Heard::Ring;
}

Bell_t::Heard Bell_t::Wait() {
    PlainLock_t lock(mutex);
    while (!rung && !stopped) changed.wait(lock.ForWait());
    return HearLocked();
}

Bell_t::Heard Bell_t::Wait(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    PlainLock_t lock(mutex);
    while (!rung && !stopped && changed.wait_until(lock.ForWait(), end) == std::cv_status::no_timeout) continue;
    return HearLocked();
}

void Bell_t::Pause(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    PlainLock_t lock(mutex);
    while (!stopped && changed.wait_until(lock.ForWait(), end) == std::cv_status::no_timeout) continue;
}

StepThread_t::StepThread_t(const char* name, Failure failure, Step step)
    : failure(failure), step(std::move(step)), thread(name) {}

StepThread_t::~StepThread_t() {
    Finish();
}

void StepThread_t::Finish() {
    bell.Stop();
    thread.Join();
}

void StepThread_t::Run(const Thread_t&) {
    // What rang before the start is heard, though it was stopped since; the first step is the answer to it.
    Bell_t::Heard heard = bell.Wait(std::chrono::milliseconds(0));
    while (heard != Bell_t::Heard::Stop) {
        const std::chrono::milliseconds pause = StepGuarded();
        heard = pause == kUntilRing ? bell.Wait() : bell.Wait(pause);
    }
}

/// Memory may be out.
std::chrono::milliseconds StepThread_t::StepGuarded() noexcept {
    try {
        return step(bell);
    } catch (const std::exception& e) {
        LumPalLog::LogGuarded([&] {
            return LumPalMsg::CreateError_t(LumPalStr::String_t(failure.text))
                   << LumPalStr::String_t::FromUtf8(e.what());
        });
        return failure.retryAfter;
    }
}

}  // namespace LumPalThread
