/// @file
/// The control service's one thread: it waits for every connection at once and blocks for none.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>

#include "../pal/Descriptor_posix.h"
#include "../pal/ThrottledLog.h"
#include "Hub.h"
#include "LocalSocket.h"
#include "LumPalThread.h"

namespace LumCtrl {

/// Serves from Run until RequestStop, also when memory or descriptors run out for a while: that costs single
/// connections. One that finds no place takes that of a program that has been silent longest, if it is neither a
/// component nor waits. All but the requests belongs to the thread that calls Run.
class ServiceLoop : public LumPalThread::Runnable_i, private Hub::Wire {
public:
    static constexpr std::size_t kMostConnections = 1000;
    static constexpr std::chrono::seconds kLongestSilence{30};

    /// @throws LumPalIo::IOException_t
    explicit ServiceLoop(Descriptor listener);
    ~ServiceLoop() override;
    void Run(const LumPalThread::Thread_t& thread) override;
    /// Any thread; these take no memory. From soon after on no trigger waits for a component.
    void RequestStopWaiting();
    /// Run returns soon after.
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
        bool doomed = false;  ///< to be closed at the end of the step
    };
    using Connections = std::map<Peer, Connection>;

    void Wake();
    void TakeRequests(Time now);
    void StepGuarded() noexcept;
    void Step();
    struct Waits;

    void ReserveWaits(std::size_t count);
    void ListWaits(Time now);
    int TimeToWait(Time now) const;
    void AcceptAll(Time now);
    bool AcceptOne(Time now);
    bool FindRoom(LumPal::Descriptor& socket);
    bool IsSilent(const Connections::value_type& connection) const;
    std::size_t CountSilent() const;
    bool DropLongestSilent();
    void Serve(Peer peer, short events, Time now) noexcept;
    void Hear(Peer peer, Connection& connection, Time now);
    void TakeFrames(Peer peer, Connection& connection, Time now);
    void Flush(Peer peer, Connection& connection);
    void DropSilent(Time now);
    void Bury();

    void Send(Peer peer, const Frame& frame) override;
    void Drop(Peer peer) noexcept override;
    void Warn(const std::string& text) override;

    Descriptor listener, wakeIn, wakeOut;
    std::atomic<bool> impatient{false}, stopping{false};
    Hub hub{*this};
    Connections connections;
    bool anyDoomed = false;
    std::unique_ptr<Waits> waits;
    Peer lastPeer = 0;
    Time acceptAgain{};  ///< no connection is taken before
    LumPalLog::ThrottledLog acceptLog, fullLog, failureLog;
};

}  // namespace LumCtrl
