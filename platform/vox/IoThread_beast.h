/// @file
/// One event loop on a thread of its own, and the sessions that live in it.
#pragma once

#include <atomic>
#include <boost/asio/bind_allocator.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <condition_variable>
#include <thread>

#include "../pal/ThrottledLog.h"
#include "LaterSteps_beast.h"
#include "LumPalPlainMutex.h"
#include "PostRoom.h"
#include "WaitingSessions_beast.h"

namespace LumVoxMsg {

namespace net = boost::asio;

/// One event loop and the sessions that live in it. What stops it and what makes room takes no memory.
/// Steps of strangers (Later) come behind all others, but not never.
class IoThread {
public:
    using Kind = WaitingSessions::Kind;

    void Start() {
        thread = std::thread([this] { Run(); });
    }
    /// Runs a function, which must not throw, on the loop and waits for its end. One at a time.
    template <class Function>
    void Call(Function function) {
        if (!thread.joinable()) return function();  // it could not be started
        {
            const LumPalThread::PlainLock_t lock(mutex);
            called = false;
        }
        Post(callRoom, [this, &function] {
            function();
            const LumPalThread::PlainLock_t lock(mutex);
            called = true;
            callEnded.notify_one();
        });
        LumPalThread::PlainLock_t lock(mutex);
        while (!called) callEnded.wait(lock.ForWait());
    }
    /// Posts a step with memory that was kept for it.
    template <class Step>
    void Post(PostRoom& room, Step step) {
        net::post(context, net::bind_allocator(PostAllocator<void>(room), std::move(step)));
    }
    /// Runs a step when nothing else is to be done, or when it has waited long; on the loop's thread.
    template <class Step>
    void Later(std::size_t place, Step step) {
        later.Add(place, std::move(step));
    }
    /// Since when the session waits that has waited longest of its kind; any thread.
    WaitingSessions::Clock::time_point GetLongestWait(Kind kind) const noexcept { return waiting.GetLongest(kind); }
    /// Takes the place of the session that has waited longest, if that is since such a time or longer, and closes it
    /// soon; any thread. @return false when there is none
    bool DropLongestWaiting(Kind kind, WaitingSessions::Clock::time_point latest) noexcept;
    /// Ends when its last session has gone.
    void Finish();
    void Enter(AnySession& session) noexcept { sessions.push_back(session); }
    /// The session may be closed when another needs its place; any thread.
    void BeginWaiting(AnySession& session, Kind kind) noexcept { waiting.Add(session, kind); }
    /// False when it lost its place: it must not begin anything then.
    bool EndWaiting(AnySession& session) noexcept { return waiting.Remove(session); }
    /// The session ends.
    void Forget(AnySession& session) noexcept { waiting.Forget(session); }

private:
    /// Made before the context, which may hold the last of a session: that takes itself out of here at its end.
    WaitingSessions waiting;
    std::atomic<bool> dropAsked{false};
    PostRoom dropRoom;

public:
    net::io_context context{1};
    Sessions<&AnySession::amongAll> sessions;  ///< touched by the loop alone

private:
    void Run();
    /// False when nothing is left to do.
    bool Step();

    LaterSteps later;  ///< touched by the loop alone
    net::executor_work_guard<net::io_context::executor_type> work{context.get_executor()};
    LumPalLog::ThrottledLog lostLog;
    PostRoom callRoom;
    LumPalThread::PlainMutex_t mutex;
    std::condition_variable callEnded;
    bool called LUMPAL_GUARDED_BY(mutex) = false;
    std::thread thread;
};

}  // namespace LumVoxMsg
