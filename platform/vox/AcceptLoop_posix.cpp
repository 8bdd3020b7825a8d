#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "../pal/Accept_posix.h"
#include "../pal/DescriptorRoom.h"
#include "../pal/SystemError.h"
#include "AcceptLoop.h"

namespace LumVoxMsg {

using LumPal::AcceptResult;
using LumPal::Descriptor;
using LumPal::DescriptorUse;

namespace {

constexpr int kPauseMs = 100, kWithoutLimit = -1;
/// How many connections are closed at most for one: descriptors that others hold cannot be had in this way.
constexpr int kMostTries = 4;

}  // namespace

AcceptLoop::AcceptLoop(int listener, Taker& taker) : listener(listener), taker(taker) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        LumPalIo::ThrowSystemError("Cannot make the server", LumPalStr::String_t(), errno);
    wakeOut = Descriptor(ends[0]);
    wakeIn = Descriptor(ends[1]);
}

void AcceptLoop::Start() {
    thread.Start(*this);
}

void AcceptLoop::Stop() noexcept {
    stopping = true;
    const ssize_t written = write(wakeIn.Get(), "", 1);
    static_cast<void>(written);  // a full pipe wakes as well
    thread.Join();
}

void AcceptLoop::Run(const LumPalThread::Thread_t&) {
    while (!stopping) Step();
}

/// Until a connection waits, the time is over, or Stop was called. Without a listening socket: the last two.
void AcceptLoop::Wait(int listening, int milliseconds) noexcept {
    pollfd waits[] = {{wakeOut.Get(), POLLIN, 0}, {listening, POLLIN, 0}};
    poll(waits, 2, milliseconds);
}

void AcceptLoop::Step() noexcept {
    Wait(listener, kWithoutLimit);
    if (stopping) return;
    Descriptor socket;
    int error = 0;
    switch (LumPal::AcceptNext(listener, "", socket, error)) {
        case AcceptResult::Taken:
            return FindRoom(socket) ? Give(std::move(socket)) : Refuse(socket);
        case AcceptResult::Nothing:
            return;
        case AcceptResult::Exhausted:
            failureLog.WarnGuarded("A connection cannot be accepted: %1", std::strerror(error));
            return Wait(-1, kPauseMs);
    }
}

bool AcceptLoop::FindRoom(Descriptor& socket) noexcept {
    // A place that was made may be taken by nobody else: connections come in here alone.
    if (taker.WhyFull(socket) && (!taker.MakeRoom(socket) || taker.WhyFull(socket))) return false;
    return FindDescriptor(socket);
}

bool AcceptLoop::FindDescriptor(Descriptor& socket) noexcept {
    for (int tries = 0; !LumPal::LeavesEnough(socket.Get(), DescriptorUse::Caller); ++tries) {
        if (tries == kMostTries || !taker.FreeDescriptor()) return false;
        LumPal::MoveDown(socket);
    }
    return true;
}

void AcceptLoop::Give(Descriptor socket) noexcept try {
    taker.Take(std::move(socket));
} catch (const std::exception& e) {
    failureLog.WarnGuarded("A connection cannot be accepted: %1", e.what());
}

void AcceptLoop::Refuse(const Descriptor& socket) noexcept {
    const char* const full = taker.WhyFull(socket);
    fullLog.WarnGuarded("A connection is refused: %1",
                        full ? full : "too few descriptors are left for files (see RLIMIT_NOFILE).");
    const std::string_view farewell = taker.GetFarewell();
    send(socket.Get(), farewell.data(), farewell.size(), MSG_NOSIGNAL);
    shutdown(socket.Get(), SHUT_RDWR);
}

}  // namespace LumVoxMsg
