#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "../pal/SystemError.h"
#include "LumPalLog.h"
#include "ServiceLoop.h"

namespace LumCtrl {
namespace {

using Clock = std::chrono::steady_clock;

/// A peer that does not read its replies is not heard until it does.
constexpr std::size_t kMostUnread = 65536;
constexpr int kMostAcceptedAtOnce = 64;
constexpr std::chrono::milliseconds kAcceptPause{50};

bool MustWait(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

ServiceLoop::ServiceLoop(Descriptor listener) : listener(std::move(listener)) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        LumPalIo::ThrowSystemError("Cannot make the control service", LumPalStr::String_t(), errno);
    }
    wakeOut = Descriptor(ends[0]);
    wakeIn = Descriptor(ends[1]);
}

void ServiceLoop::RequestStopWaiting() {
    impatient = true;
    Wake();
}

void ServiceLoop::RequestStop() {
    stopping = true;
    Wake();
}

void ServiceLoop::Wake() {
    const ssize_t written = write(wakeIn.Get(), "", 1);
    static_cast<void>(written);  // a full pipe wakes as well
}

void ServiceLoop::TakeRequests(Time now) {
    std::array<char, 64> wakes;
    while (read(wakeOut.Get(), wakes.data(), wakes.size()) > 0) {
    }
    if (impatient) hub.StopWaiting(now);
}

void ServiceLoop::Run(const LumPalThread::Thread_t&) {
    while (!stopping) Step();
    hub.Stop();
    connections.clear();
}

void ServiceLoop::Step() {
    std::vector<Peer> peers;
    std::vector<pollfd> waits = WhatToWaitFor(peers);
    if (poll(waits.data(), waits.size(), TimeToWait(Clock::now())) < 0 && errno != EINTR) {
        LumPalIo::ThrowSystemError("The control service cannot wait", LumPalStr::String_t(), errno);
    }
    const Time now = Clock::now();
    if (waits[0].revents != 0) TakeRequests(now);
    // Ends are seen before beginnings: who comes again under its name finds it free.
    for (std::size_t i = 0; i < peers.size(); ++i) {
        if (waits[i + 2].revents != 0) Serve(peers[i], waits[i + 2].revents, now);
    }
    Bury();
    if (waits[1].revents != 0) AcceptAll(now);
    hub.Tick(now);
    DropSilent(now);
    Bury();
}

std::vector<pollfd> ServiceLoop::WhatToWaitFor(std::vector<Peer>& peers) const {
    const bool open = connections.size() < kMostConnections && Clock::now() >= acceptAgain;
    std::vector<pollfd> waits{{wakeOut.Get(), POLLIN, 0}, {open ? listener.Get() : -1, POLLIN, 0}};
    for (const auto& [peer, connection] : connections) {
        const std::size_t unsent = connection.out.size() - connection.sent;
        short events = unsent > kMostUnread ? 0 : POLLIN;
        if (unsent > 0) events = static_cast<short>(events | POLLOUT);
        waits.push_back({connection.socket.Get(), events, 0});
        peers.push_back(peer);
    }
    return waits;
}

int ServiceLoop::TimeToWait(Time now) const {
    Time next = hub.NextDeadline();
    if (acceptAgain > now) next = std::min(next, acceptAgain);
    for (const auto& [peer, connection] : connections) {
        if (hub.IsIdle(peer)) next = std::min(next, connection.lastHeard + kLongestSilence);
    }
    if (next == Time::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 3600000));
}

void ServiceLoop::AcceptAll(Time now) {
    for (int i = 0; i < kMostAcceptedAtOnce && connections.size() < kMostConnections; ++i) {
        Descriptor socket = Accept(listener);
        if (!socket) {
            // One that waits and cannot be taken (no descriptor is left) must not keep the thread spinning.
            if (i == 0) acceptAgain = now + kAcceptPause;
            return;
        }
        Connection& connection = connections[++lastPeer];
        connection.socket = std::move(socket);
        connection.lastHeard = now;
    }
}

void ServiceLoop::Serve(Peer peer, short events, Time now) {
    const auto found = connections.find(peer);
    if (found == connections.end() || doomed.count(peer) != 0) return;
    if (events & POLLOUT) Flush(peer, found->second);
    if (events & (POLLIN | POLLHUP | POLLERR)) Hear(peer, found->second, now);
}

void ServiceLoop::Hear(Peer peer, Connection& connection, Time now) {
    std::array<char, 65536> bytes;
    const ssize_t count = recv(connection.socket.Get(), bytes.data(), bytes.size(), 0);
    if (count < 0 && MustWait(errno)) return;
    if (count <= 0) return Drop(peer);
    connection.in.Append(bytes.data(), static_cast<std::size_t>(count));
    TakeFrames(peer, connection, now);
}

void ServiceLoop::TakeFrames(Peer peer, Connection& connection, Time now) try {
    while (doomed.count(peer) == 0) {
        const std::optional<Frame> frame = connection.in.Next();
        if (!frame) return;
        connection.lastHeard = now;
        hub.Take(peer, *frame, now);
    }
} catch (const FrameError& error) {
    Warn(std::string("A program that spoke to the control service was dropped: it sent ") + error.reason + ".");
    Drop(peer);
}

void ServiceLoop::Send(Peer peer, const Frame& frame) {
    const auto found = connections.find(peer);
    if (found == connections.end()) return;
    found->second.out += frame.Encode();
    Flush(peer, found->second);
}

void ServiceLoop::Flush(Peer peer, Connection& connection) {
    while (connection.sent < connection.out.size()) {
        const ssize_t count = send(connection.socket.Get(), connection.out.data() + connection.sent,
                                   connection.out.size() - connection.sent, MSG_NOSIGNAL);
        if (count < 0 && MustWait(errno)) return;
        if (count < 0) return Drop(peer);
        connection.sent += static_cast<std::size_t>(count);
    }
    connection.out = std::string();
    connection.sent = 0;
}

void ServiceLoop::DropSilent(Time now) {
    for (const auto& [peer, connection] : connections) {
        if (now - connection.lastHeard >= kLongestSilence && hub.IsIdle(peer)) Drop(peer);
    }
}

void ServiceLoop::Bury() {
    while (!doomed.empty()) {
        const Peer peer = *doomed.begin();
        doomed.erase(doomed.begin());
        if (connections.erase(peer) != 0) hub.Gone(peer);
    }
}

void ServiceLoop::Warn(const std::string& text) {
    LumPalLog::Log(LumPalMsg::MessageList_t(LumPalMsg::CreateWarn_t("%1") << LumPalStr::String_t::FromUtf8(text)));
}

}  // namespace LumCtrl
