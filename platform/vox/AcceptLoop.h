/// @file
/// The thread that takes connections.
#pragma once

#include <atomic>
#include <memory>
#include <string_view>

#include "../pal/Descriptor_posix.h"
#include "../pal/ThrottledLog.h"
#include "LumPalThread.h"

namespace LumVoxMsg {

/// Takes the connections of a socket that listens, on a thread of its own, and never ends by itself: when descriptors
/// or memory run out it goes on as soon as there are some again. A connection for which there is no room is taken when
/// one that only waits makes room for it, else it gets a farewell and is closed. It waits for nobody, but for a
/// descriptor when there are too few. What happens is logged in the application log, throttled.
class AcceptLoop final : private LumPalThread::Runnable_i {
public:
    /// Who serves the connections. Called on the loop's thread.
    class Taker {
    public:
        virtual ~Taker() = default;
        /// Why this connection may not be open beside those that are; null when it may.
        virtual const char* WhyFull(const LumPal::Descriptor& socket) const noexcept = 0;
        /// Lets it have the place of one that must make room for it, and is closed soon; waits for nothing.
        /// @return false when there is none
        virtual bool MakeRoom(const LumPal::Descriptor& socket) noexcept = 0;
        /// Closes one that must make room, and waits until its descriptor is free. @return false when there is none, or
        /// that takes long
        virtual bool FreeDescriptor() noexcept = 0;
        /// May throw; the connection is then closed.
        virtual void Take(LumPal::Descriptor socket) = 0;
        /// What a connection gets for which there is no room.
        virtual std::string_view GetFarewell() const noexcept = 0;
    };

    /// @param listener  not owned; not blocking, and open until Stop has returned
    /// @param taker     not owned; lives as long
    /// @throws LumPalIo::IOException_t
    AcceptLoop(int listener, Taker& taker);
    AcceptLoop(const AcceptLoop&) = delete;
    AcceptLoop& operator=(const AcceptLoop&) = delete;
    ~AcceptLoop() override { Stop(); }
    /// Once. @throws LumPalMsg::RuntimeException_t without room for a thread
    void Start();
    /// Nothing is taken after it returns. Takes no memory. A second call does nothing.
    void Stop() noexcept;

private:
    void Run(const LumPalThread::Thread_t& thread) override;
    void Step() noexcept;
    void Wait(int listening, int milliseconds) noexcept;
    bool FindRoom(LumPal::Descriptor& socket) noexcept;
    bool FindDescriptor(LumPal::Descriptor& socket) noexcept;
    void Give(LumPal::Descriptor socket) noexcept;
    void Refuse(const LumPal::Descriptor& socket) noexcept;

    const int listener;
    Taker& taker;
    LumPal::Descriptor wakeIn, wakeOut;
    std::atomic<bool> stopping{false};
    LumPalLog::ThrottledLog failureLog, fullLog;
    LumPalThread::Thread_t thread{"LumVox:Accept"};
};

}  // namespace LumVoxMsg
