#include "IoThread_beast.h"

#include "../pal/ThreadName.h"

namespace LumVoxMsg {

namespace {

/// So many steps of others run before one of a stranger, whose handshake may be that of a proven caller.
constexpr int kBeforeAStranger = 32;

}  // namespace

void IoThread::Run() {
    LumPalThread::NameThisThread("LumVox:Io");
    while (true) try {
            while (Step()) continue;
            return;
        } catch (const std::exception& e) {
            lostLog.WarnGuarded("A connection was given up: %1", e.what());
        } catch (...) {
            lostLog.WarnGuarded("A connection was given up: %1", "an exception of an unknown kind");
        }
}

bool IoThread::Step() {
    if (later.IsEmpty()) return context.run_one() > 0;
    // It counts as stopped when all that is left waits here.
    if (context.stopped()) context.restart();
    for (int i = 0; i < kBeforeAStranger && context.poll_one() > 0; ++i) continue;
    later.RunNext();
    return true;
}

bool IoThread::DropLongestWaiting(Kind kind, WaitingSessions::Clock::time_point latest) noexcept {
    if (!waiting.Condemn(kind, latest)) return false;
    if (dropAsked.exchange(true)) return true;
    Post(dropRoom, [this] {
        dropAsked = false;
        waiting.CloseCondemned();
    });
    return true;
}

void IoThread::Finish() {
    work.reset();
    if (thread.joinable()) thread.join();
}

}  // namespace LumVoxMsg
