/// @file
/// Who is registered for what, and which trigger waits for whom: the control service without its sockets.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Frame.h"

namespace LumCtrl {

/// One thread. Peers are numbers of the caller's choice, never 0, and never used again. Where memory runs out a peer is
/// dropped: what waits for it goes on.
class Hub {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Peer = std::uint64_t;

    /// Most triggers, and most bytes of them, that wait for one component; with more it is dropped.
    static constexpr std::size_t kMostQueued = 10000;
    static constexpr std::size_t kMostQueuedBytes = 64u << 20;
    /// Most components; a further one is refused, so that programs that hand over triggers find a place.
    static constexpr std::size_t kMostComponents = 900;

    /// Where the hub's decisions go.
    class Wire {
    public:
        virtual ~Wire() = default;
        /// May throw when memory is out.
        virtual void Send(Peer peer, const Frame& frame) = 0;
        /// Ends the connection; Gone is to be called for the peer.
        virtual void Drop(Peer peer) noexcept = 0;
        /// A line for the application log. May throw when memory is out.
        virtual void Warn(const std::string& text) = 0;
    };
    explicit Hub(Wire& wire) : wire(wire) {}
    ~Hub() { registered -= static_cast<unsigned>(components.size()); }
    Hub(const Hub&) = delete;
    Hub& operator=(const Hub&) = delete;

    /// @throws FrameError for a frame that has no place, std::bad_alloc; the peer is then to be dropped by the caller
    void Take(Peer peer, const Frame& frame, Time now);
    /// The peer's connection ended.
    void Gone(Peer peer) noexcept;
    /// Answers the triggers whose time is over.
    void Tick(Time now) noexcept;
    /// When Tick has something to do; Time::max() when nothing waits.
    Time NextDeadline() const;
    /// Whether nothing is known of the peer: it is no component and waits for nothing.
    bool IsIdle(Peer peer) const;
    /// From now on nothing waits for a component: the next Tick answers every trigger that waits, and one that comes
    /// later is handed to its components and answered by the Tick behind it.
    void StopWaiting(Time now) noexcept;
    /// Components of all hubs of this process. Any thread.
    static unsigned CountComponents() noexcept { return registered; }
    /// Answers every waiting trigger and says which components leave some unacknowledged: the service stops.
    void Stop() noexcept;

private:
    struct Trigger {
        std::string event, value;
        Peer notifier = 0;  ///< who waits; 0: nobody
        Time deadline;
        std::vector<std::string> open;    ///< names of components that have not acknowledged
        std::vector<std::string> failed;  ///< names of those that went away
    };
    using TriggerPtr = std::shared_ptr<Trigger>;
    struct Component {
        std::string name;
        std::vector<std::string> patterns;
        std::deque<TriggerPtr> queue;  ///< the first one is under way when `delivering`
        std::size_t queuedBytes = 0;
        std::uint32_t delivery = 0;
        bool delivering = false;
    };
    using Components = std::map<Peer, Component>;

    void Register(Peer peer, const Frame& frame);
    void TakeTrigger(Peer peer, const Frame& frame, Time now);
    std::vector<Peer> Receivers(const Frame& frame, ReplyCode& code) const;
    void Queue(Peer peer, const TriggerPtr& trigger);
    void Deliver(Peer peer, Component& component) noexcept;
    void Acknowledge(Peer peer, const Frame& frame);
    void Remove(Components::iterator component, const char* why) noexcept;
    void Fail(const TriggerPtr& trigger, const std::string& component) noexcept;
    void WarnOfQueue(const Component& component, const char* before, const char* behind) noexcept;
    void Finish(const TriggerPtr& trigger) noexcept;
    template <class MakeText>
    void Answer(Trigger& trigger, ReplyCode code, MakeText text) noexcept;
    template <class MakeText>
    void Reply(Peer peer, ReplyCode code, MakeText text) noexcept;

    Wire& wire;
    Components components;
    std::list<TriggerPtr> waiting;  ///< those with a notifier
    bool patient = true;
    static inline std::atomic<unsigned> registered{0};
};

}  // namespace LumCtrl
