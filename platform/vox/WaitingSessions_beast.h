/// @file
/// The sessions of one event loop, and those of them that may be closed for others.
#pragma once

#include <atomic>
#include <boost/intrusive/list.hpp>
#include <chrono>
#include <utility>

namespace LumVoxMsg {

namespace intrusive = boost::intrusive;

using Hook = intrusive::list_member_hook<intrusive::link_mode<intrusive::auto_unlink>>;

class WaitingSessions;

/// What a thread's sessions look like to the server; all calls come on that thread.
class AnySession {
public:
    virtual ~AnySession() = default;
    /// Ends at once unless a request is being served or answered.
    virtual void BeginClosing() = 0;
    virtual void Abort() = 0;

    Hook amongAll, amongWaiting;
    WaitingSessions* waitsIn = nullptr;
    std::chrono::steady_clock::time_point waitsSince;
};

template <Hook AnySession::*hook>
using Sessions =
    intrusive::list<AnySession, intrusive::member_hook<AnySession, Hook, hook>, intrusive::constant_time_size<false>>;

/// Who has waited longest stands first. Touched by the loop alone, but for what is said of a member. Takes no memory.
class WaitingSessions {
public:
    using Clock = std::chrono::steady_clock;

    /// From now on, at the end; takes it from where it waited.
    void Add(AnySession& session) noexcept {
        Remove(session);
        session.waitsIn = this;
        session.waitsSince = Clock::now();
        sessions.push_back(session);
        Publish();
    }
    /// From wherever it waits.
    static void Remove(AnySession& session) noexcept {
        if (!session.waitsIn) return;
        session.amongWaiting.unlink();
        std::exchange(session.waitsIn, nullptr)->Publish();
    }
    /// Closes the first one, if there is one.
    void DropFirst() noexcept {
        if (sessions.empty()) return;
        AnySession& first = sessions.front();
        Remove(first);
        first.Abort();
    }
    /// Since when the first one waits, Clock::time_point::max() when none does; any thread.
    Clock::time_point GetLongest() const noexcept { return Clock::time_point(Clock::duration(longest.load())); }

private:
    void Publish() noexcept {
        const auto since = sessions.empty() ? Clock::time_point::max() : sessions.front().waitsSince;
        longest = since.time_since_epoch().count();
    }

    Sessions<&AnySession::amongWaiting> sessions;
    std::atomic<Clock::rep> longest{Clock::time_point::max().time_since_epoch().count()};
};

}  // namespace LumVoxMsg
