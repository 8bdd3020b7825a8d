#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "../pal/Accept_posix.h"
#include "../pal/DescriptorRoom.h"
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
constexpr int kPauseMs = 50;
constexpr std::size_t kLeastSilent = 8;
/// How many programs are dropped at most for one: descriptors that others hold cannot be had in this way.
constexpr int kMostTries = 4;

bool MustWait(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

/// How many programs may be connected that say nothing.
std::size_t MostSilent() {
    return std::max<std::size_t>(kLeastSilent, LumPal::MostDescriptors() / 8);
}

bool HasSentSomething(const Descriptor& socket) {
    char byte;
    return recv(socket.Get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
}

}  // namespace

struct ServiceLoop::Waits {
    std::vector<pollfd> all;  ///< the wake, the listener, the connections
    std::vector<Peer> peers;  ///< whose they are behind the first two
};

ServiceLoop::~ServiceLoop() = default;

ServiceLoop::ServiceLoop(Descriptor listener) : listener(std::move(listener)), waits(std::make_unique<Waits>()) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        LumPalIo::ThrowSystemError("Cannot make the control service", LumPalStr::String_t(), errno);
    }
    wakeOut = Descriptor(ends[0]);
    wakeIn = Descriptor(ends[1]);
    ReserveWaits(0);
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
    while (!stopping) StepGuarded();
    hub.Stop();
    connections.clear();
    // Whoever comes now is refused instead of waiting for an answer.
    listener.Reset();
}

void ServiceLoop::StepGuarded() noexcept try { Step(); } catch (const std::exception& e) {
    failureLog.WarnGuarded("The control service goes on after a failure: %1", e.what());
    // Memory that is out is not back at once.
    pollfd wake{wakeOut.Get(), POLLIN, 0};
    poll(&wake, 1, kPauseMs);
}

void ServiceLoop::Step() {
    ListWaits(Clock::now());
    auto& [all, peers] = *waits;
    if (poll(all.data(), all.size(), TimeToWait(Clock::now())) < 0 && errno != EINTR) {
        LumPalIo::ThrowSystemError("The control service cannot wait", LumPalStr::String_t(), errno);
    }
    const Time now = Clock::now();
    if (all[0].revents != 0) TakeRequests(now);
    // Ends are seen before beginnings: who comes again under its name finds it free.
    for (std::size_t i = 0; i < peers.size(); ++i) {
        if (all[i + 2].revents != 0) Serve(peers[i], all[i + 2].revents, now);
    }
    Bury();
    hub.Tick(now);
    DropSilent(now);
    Bury();
    if (all[1].revents != 0) AcceptAll(now);
}

void ServiceLoop::ReserveWaits(std::size_t count) {
    waits->all.reserve(count + 2);
    waits->peers.reserve(count);
}

/// Takes no memory: what there is to do for those that are there is done also when there is none.
void ServiceLoop::ListWaits(Time now) {
    waits->all.clear();
    waits->peers.clear();
    waits->all.push_back({wakeOut.Get(), POLLIN, 0});
    waits->all.push_back({now >= acceptAgain ? listener.Get() : -1, POLLIN, 0});
    for (const auto& [peer, connection] : connections) {
        const std::size_t unsent = connection.out.size() - connection.sent;
        short events = unsent > kMostUnread ? 0 : POLLIN;
        if (unsent > 0) events = static_cast<short>(events | POLLOUT);
        waits->all.push_back({connection.socket.Get(), events, 0});
        waits->peers.push_back(peer);
    }
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
    for (int i = 0; i < kMostAcceptedAtOnce; ++i) {
        if (!AcceptOne(now)) return;
    }
}

/// @return whether there may be more of them
bool ServiceLoop::AcceptOne(Time now) {
    LumPal::Descriptor socket;
    int error = 0;
    switch (LumPal::AcceptNext(listener.Get(), "control.sock", socket, error)) {
        case LumPal::AcceptResult::Nothing:
            return false;
        case LumPal::AcceptResult::Exhausted:
            // One that waits and cannot be taken must not keep the thread spinning.
            acceptAgain = now + kAcceptPause;
            acceptLog.WarnGuarded("The control service cannot take a connection: %1", std::strerror(error));
            return false;
        case LumPal::AcceptResult::Taken:
            break;
    }
    if (!IsFriend(socket.Get())) return true;
    if (!FindRoom(socket)) {
        fullLog.WarnGuarded("The control service refuses a connection: %1",
                            "too many are open, or too few descriptors are left for files (see RLIMIT_NOFILE).");
        return true;
    }
    ReserveWaits(connections.size() + 1);
    Connection& connection = connections[++lastPeer];
    connection.socket = Descriptor(socket.Release());
    connection.lastHeard = now;
    return true;
}

bool ServiceLoop::FindRoom(LumPal::Descriptor& socket) {
    for (int tries = 0;; ++tries) {
        LumPal::MoveToKept(socket);
        const bool leavesEnough = LumPal::LeavesEnough(socket.Get(), LumPal::DescriptorUse::LocalProgram);
        if (leavesEnough && connections.size() < kMostConnections && CountSilent() < MostSilent()) return true;
        if (tries == kMostTries || !DropLongestSilent()) return false;
        LumPal::MoveDown(socket);
    }
}

/// Neither a component nor waiting for an answer.
bool ServiceLoop::IsSilent(const Connections::value_type& connection) const {
    return hub.IsIdle(connection.first) && connection.second.out.empty();
}

std::size_t ServiceLoop::CountSilent() const {
    return static_cast<std::size_t>(std::count_if(connections.begin(), connections.end(),
                                                  [this](const auto& connection) { return IsSilent(connection); }));
}

bool ServiceLoop::DropLongestSilent() {
    auto longest = connections.end();
    for (auto i = connections.begin(); i != connections.end(); ++i) {
        if (!IsSilent(*i) || HasSentSomething(i->second.socket)) continue;
        if (longest == connections.end() || i->second.lastHeard < longest->second.lastHeard) longest = i;
    }
    if (longest == connections.end()) return false;
    connections.erase(longest);
    return true;
}

/// Whatever happens here costs the one connection.
void ServiceLoop::Serve(Peer peer, short events, Time now) noexcept try {
    const auto found = connections.find(peer);
    if (found == connections.end() || found->second.doomed) return;
    if (events & POLLOUT) Flush(peer, found->second);
    if (events & (POLLIN | POLLHUP | POLLERR)) Hear(peer, found->second, now);
} catch (const FrameError& error) {
    failureLog.WarnGuarded("A program that spoke to the control service was dropped: it sent %1.", error.reason);
    Drop(peer);
} catch (const std::exception& e) {
    failureLog.WarnGuarded("A program that spoke to the control service was dropped: %1", e.what());
    Drop(peer);
}

void ServiceLoop::Hear(Peer peer, Connection& connection, Time now) {
    std::array<char, 65536> bytes;
    const ssize_t count = recv(connection.socket.Get(), bytes.data(), bytes.size(), 0);
    if (count < 0 && MustWait(errno)) return;
    if (count <= 0) return Drop(peer);
    connection.in.Append(bytes.data(), static_cast<std::size_t>(count));
    TakeFrames(peer, connection, now);
}

void ServiceLoop::TakeFrames(Peer peer, Connection& connection, Time now) {
    while (!connection.doomed) {
        const std::optional<Frame> frame = connection.in.Next();
        if (!frame) return;
        connection.lastHeard = now;
        hub.Take(peer, *frame, now);
    }
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

void ServiceLoop::Drop(Peer peer) noexcept {
    const auto found = connections.find(peer);
    if (found == connections.end()) return;
    found->second.doomed = true;
    anyDoomed = true;
}

/// The end of one may be the end of others.
void ServiceLoop::Bury() {
    while (std::exchange(anyDoomed, false)) {
        for (auto i = connections.begin(); i != connections.end();) {
            if (!i->second.doomed) {
                ++i;
                continue;
            }
            const Peer peer = i->first;
            i = connections.erase(i);
            hub.Gone(peer);
        }
    }
}

void ServiceLoop::Warn(const std::string& text) {
    LumPalLog::Log(LumPalMsg::MessageList_t(LumPalMsg::CreateWarn_t("%1") << LumPalStr::String_t::FromUtf8(text)));
}

}  // namespace LumCtrl
