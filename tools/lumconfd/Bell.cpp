#include "lumconfd/Bell.h"

namespace lumconfd {

using Lock = std::unique_lock<std::mutex>;

void Bell::Ring() {
    const Lock lock(mutex);
    rung = true;
    changed.notify_all();
}

void Bell::Stop() {
    const Lock lock(mutex);
    stopped = true;
    changed.notify_all();
}

bool Bell::IsStopped() const {
    const Lock lock(mutex);
    return stopped;
}

Bell::Heard Bell::HearLocked() {
    if (!rung) return stopped ? Heard::Stop : Heard::TimeOver;
    rung = false;
    return Heard::Ring;
}

Bell::Heard Bell::Wait() {
    Lock lock(mutex);
    changed.wait(lock, [this] { return rung || stopped; });
    return HearLocked();
}

Bell::Heard Bell::Wait(std::chrono::milliseconds time) {
    Lock lock(mutex);
    changed.wait_for(lock, time, [this] { return rung || stopped; });
    return HearLocked();
}

void Bell::Pause(std::chrono::milliseconds time) {
    Lock lock(mutex);
    changed.wait_for(lock, time, [this] { return stopped; });
}

}  // namespace lumconfd
