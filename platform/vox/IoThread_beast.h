/// @file
/// One event loop on a thread of its own, and the sessions that live in it.
#pragma once

#include <atomic>
#include <boost/asio/bind_allocator.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/intrusive/list.hpp>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "../pal/ThrottledLog.h"
#include "PostRoom.h"

namespace LumVoxMsg {

namespace intrusive = boost::intrusive;
namespace net = boost::asio;

using Hook = intrusive::list_member_hook<intrusive::link_mode<intrusive::auto_unlink>>;

/// What a thread's sessions look like to the server; all calls come on that thread.
class AnySession {
public:
    virtual ~AnySession() = default;
    /// Ends at once unless a request is being served or answered.
    virtual void BeginClosing() = 0;
    virtual void Abort() = 0;

    Hook amongAll, amongWaiting;
};

template <Hook AnySession::*hook>
using Sessions =
    intrusive::list<AnySession, intrusive::member_hook<AnySession, Hook, hook>, intrusive::constant_time_size<false>>;

/// One event loop and the sessions that live in it. What stops it and what makes room takes no memory.
class IoThread {
public:
    void Start() {
        thread = std::thread([this] { Run(); });
    }
    /// Runs a function, which must not throw, on the loop and waits for its end. One at a time.
    template <class Function>
    void Call(Function function) {
        if (!thread.joinable()) return function();  // it could not be started
        {
            const std::lock_guard lock(mutex);
            called = false;
        }
        Post(callRoom, [this, &function] {
            function();
            const std::lock_guard lock(mutex);
            called = true;
            callEnded.notify_one();
        });
        std::unique_lock lock(mutex);
        callEnded.wait(lock, [this] { return called; });
    }
    /// Posts a step with memory that was kept for it.
    template <class Step>
    void Post(PostRoom& room, Step step) {
        net::post(context, net::bind_allocator(PostAllocator<void>(room), std::move(step)));
    }
    /// Closes the session that has waited longest; any thread. False when none waits.
    bool DropLongestWaiting();
    /// Ends when its last session has gone.
    void Finish();
    void Enter(AnySession& session) noexcept { sessions.push_back(session); }
    /// The session has no request: it may be closed when another needs its place.
    void BeginWaiting(AnySession& session) noexcept;
    void EndWaiting(AnySession& session) noexcept;

    net::io_context context{1};
    Sessions<&AnySession::amongAll> sessions;  ///< touched by the loop alone

private:
    void Run();
    void DropFirstOfWaiting() noexcept;

    Sessions<&AnySession::amongWaiting> waiting;  ///< touched by the loop alone; who has waited longest stands first
    std::atomic<unsigned> waitingCount{0};
    std::atomic<bool> dropAsked{false};
    net::executor_work_guard<net::io_context::executor_type> work{context.get_executor()};
    LumPalLog::ThrottledLog lostLog;
    PostRoom callRoom, dropRoom;
    std::mutex mutex;
    std::condition_variable callEnded;
    bool called = false;  ///< guarded by mutex
    std::thread thread;
};

}  // namespace LumVoxMsg
