/// @file
/// The control service's one thread: it waits for every connection at once and blocks for none.
#pragma once

#include <atomic>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Hub.h"
#include "LocalSocket.h"
#include "LumPalThread.h"

struct pollfd;

namespace LumCtrl {

/// Serves from Run until RequestStop. All but the requests belongs to the thread that calls Run.
class ServiceLoop : public LumPalThread::Runnable_i, private Hub::Wire {
public:
    static constexpr std::size_t kMostConnections = 1000;
    static constexpr std::chrono::seconds kLongestSilence{30};

    /// @throws LumPalIo::IOException_t
    explicit ServiceLoop(Descriptor listener);
    void Run(const LumPalThread::Thread_t& thread) override;
    /// Any thread; from soon after on no trigger waits for a component.
    void RequestStopWaiting();
    /// Any thread; Run returns soon after.
    void RequestStop();

private:
    using Time = Hub::Time;
    using Peer = Hub::Peer;
    struct Connection {
        Descriptor socket;
        FrameBuffer in;
        std::string out;
        std::size_t sent = 0;
        Time lastHeard;
    };

    void Wake();
    void TakeRequests(Time now);
    void Step();
    std::vector<pollfd> WhatToWaitFor(std::vector<Peer>& peers) const;
    int TimeToWait(Time now) const;
    void AcceptAll(Time now);
    void Serve(Peer peer, short events, Time now);
    void Hear(Peer peer, Connection& connection, Time now);
    void TakeFrames(Peer peer, Connection& connection, Time now);
    void Flush(Peer peer, Connection& connection);
    void DropSilent(Time now);
    void Bury();

    void Send(Peer peer, const Frame& frame) override;
    void Drop(Peer peer) override { doomed.insert(peer); }
    void Warn(const std::string& text) override;

    Descriptor listener, wakeIn, wakeOut;
    std::atomic<bool> impatient{false}, stopping{false};
    Hub hub{*this};
    std::map<Peer, Connection> connections;
    std::set<Peer> doomed;  ///< to be closed at the end of the step
    Peer lastPeer = 0;
    Time acceptAgain{};  ///< no connection is taken before
};

}  // namespace LumCtrl
