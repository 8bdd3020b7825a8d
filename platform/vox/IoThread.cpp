#include "IoThread_beast.h"

#include "../pal/ThreadName.h"

namespace LumVoxMsg {

void IoThread::Run() {
    LumPalThread::NameThisThread("LumVox:Io");
    while (true) try {
            context.run();
            return;
        } catch (const std::exception& e) {
            lostLog.WarnGuarded("A connection was given up: %1", e.what());
        } catch (...) {
            lostLog.WarnGuarded("A connection was given up: %1", "an exception of an unknown kind");
        }
}

void IoThread::DropFirstOfWaiting() noexcept {
    dropAsked = false;
    if (waiting.empty()) return;
    AnySession& first = waiting.front();
    EndWaiting(first);
    first.Abort();
}

bool IoThread::DropLongestWaiting() {
    if (waitingCount == 0) return false;
    if (!dropAsked.exchange(true)) Post(dropRoom, [this] { DropFirstOfWaiting(); });
    return true;
}

void IoThread::Finish() {
    work.reset();
    if (thread.joinable()) thread.join();
}

void IoThread::BeginWaiting(AnySession& session) noexcept {
    EndWaiting(session);
    waiting.push_back(session);
    ++waitingCount;
}

void IoThread::EndWaiting(AnySession& session) noexcept {
    if (!session.amongWaiting.is_linked()) return;
    session.amongWaiting.unlink();
    --waitingCount;
}

}  // namespace LumVoxMsg
