/// @file
/// The sessions of one event loop, and those of them that may be closed for others.
#pragma once

#include <array>
#include <atomic>
#include <boost/intrusive/list.hpp>
#include <chrono>

#include "LumPalPlainMutex.h"

namespace LumVoxMsg {

namespace intrusive = boost::intrusive;

using Hook = intrusive::list_member_hook<intrusive::link_mode<intrusive::auto_unlink>>;

/// What a thread's sessions look like to the server; calls come on that thread, but for Forfeit.
class AnySession {
public:
    enum class State {
        Free,      ///< waits for nothing that another may need
        Waiting,   ///< may be closed for another
        Condemned  ///< is to be closed for another
    };

    virtual ~AnySession() = default;
    /// Ends at once unless a request is being served or answered.
    virtual void BeginClosing() = 0;
    virtual void Abort() = 0;
    /// Its place is another's from now on, before it is closed; any thread, once.
    virtual void Forfeit() noexcept = 0;

    Hook amongAll, amongWaiting;
    // What follows is guarded by the mutex of WaitingSessions.
    State waiting = State::Free;
    std::size_t kind = 0;
    std::chrono::steady_clock::time_point waitsSince;
};

template <Hook AnySession::*hook>
using Sessions =
    intrusive::list<AnySession, intrusive::member_hook<AnySession, Hook, hook>, intrusive::constant_time_size<false>>;

/// Who has waited longest of a kind stands first. Any thread; takes no memory.
class WaitingSessions {
public:
    using Clock = std::chrono::steady_clock;
    /// Why a session may be closed for another.
    enum Kind : std::size_t {
        Newcomer,      ///< has proven nothing, and no request of his has been taken yet
        SlowStranger,  ///< has proven nothing, and his request is still coming, or its answer still going
        IdleStranger,  ///< has proven nothing, and has no request
        IdleProven     ///< has no request
    };
    static constexpr std::size_t kKinds = 4;

    /// From now on, at the end; takes it from where it waited. One that is condemned stays so.
    void Add(AnySession& session, Kind kind) noexcept {
        const LumPalThread::PlainLock_t lock(mutex);
        if (session.waiting == AnySession::State::Condemned) return;
        UnlinkLocked(session);
        session.waiting = AnySession::State::Waiting;
        session.kind = kind;
        session.waitsSince = Clock::now();
        kinds[kind].push_back(session);
        PublishLocked(kind);
    }
    /// Takes it from where it waited. @return false when it is condemned: it is not to begin anything any more
    bool Remove(AnySession& session) noexcept {
        const LumPalThread::PlainLock_t lock(mutex);
        if (session.waiting == AnySession::State::Condemned) return false;
        UnlinkLocked(session);
        return true;
    }
    /// The session ends.
    void Forget(AnySession& session) noexcept {
        const LumPalThread::PlainLock_t lock(mutex);
        UnlinkLocked(session);
    }
    /// Takes the place of the one that has waited longest, if that is since such a time or longer. It is closed by
    /// CloseCondemned. @return false when there is none
    bool Condemn(Kind kind, Clock::time_point latest) noexcept {
        const LumPalThread::PlainLock_t lock(mutex);
        auto& sessions = kinds[kind];
        if (sessions.empty() || sessions.front().waitsSince > latest) return false;
        AnySession& first = sessions.front();
        UnlinkLocked(first);
        first.waiting = AnySession::State::Condemned;
        condemned.push_back(first);
        first.Forfeit();
        return true;
    }
    /// On the sessions' thread.
    void CloseCondemned() noexcept {
        while (AnySession* const session = NextCondemned()) session->Abort();
    }
    /// Since when the first one waits, Clock::time_point::max() when none does.
    Clock::time_point GetLongest(Kind kind) const noexcept {
        return Clock::time_point(Clock::duration(longest[kind].load()));
    }

private:
    struct Longest : std::atomic<Clock::rep> {
        Longest() noexcept : atomic(Clock::time_point::max().time_since_epoch().count()) {}
    };

    void UnlinkLocked(AnySession& session) noexcept LUMPAL_REQUIRES(mutex) {
        if (session.waiting == AnySession::State::Free) return;
        session.amongWaiting.unlink();
        if (session.waiting == AnySession::State::Waiting) PublishLocked(session.kind);
        session.waiting = AnySession::State::Free;
    }
    void PublishLocked(std::size_t kind) noexcept LUMPAL_REQUIRES(mutex) {
        const auto& sessions = kinds[kind];
        const auto since = sessions.empty() ? Clock::time_point::max() : sessions.front().waitsSince;
        longest[kind].store(since.time_since_epoch().count());
    }
    /// It stays condemned: what it has begun must not go on.
    AnySession* NextCondemned() noexcept {
        const LumPalThread::PlainLock_t lock(mutex);
        if (condemned.empty()) return nullptr;
        AnySession& first = condemned.front();
        first.amongWaiting.unlink();
        return &first;
    }

    LumPalThread::PlainMutex_t mutex;
    std::array<Sessions<&AnySession::amongWaiting>, kKinds> kinds LUMPAL_GUARDED_BY(mutex);
    std::array<Longest, kKinds> longest;  ///< written under the mutex, read by anybody
    Sessions<&AnySession::amongWaiting> condemned LUMPAL_GUARDED_BY(mutex);
};

}  // namespace LumVoxMsg
